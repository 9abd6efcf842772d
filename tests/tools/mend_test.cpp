#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Where the records of an archive made for a test are.
struct Layout {
  Bytes bytes;
  std::vector<std::size_t> records;  // their starts, and the end of the last one
  std::vector<std::size_t> entries;  // the numbers of records that are index records
};

class Mend : public ProgramTest {
 protected:
  // Each entry has `blocks` blocks of data of two streams and an event; no two records are equal.
  // Half way, a header repeats the first one and declares one more stream.
  static Layout Make(const std::string& path, std::size_t entries, std::size_t blocks,
                     std::size_t secondHeader) {
    Layout layout;
    ArchiveHeader header = OneStreamHeader();
    header.streams.push_back(header.streams.front());
    header.streams.back().id = 2;
    std::mt19937_64 chance(7);
    ArchiveWriter writer(path);
    const auto note = [&] {
      layout.records.push_back(static_cast<std::size_t>(writer.Position()));
    };
    note();
    writer.WriteHeader(header);
    for (std::size_t entry = 0; entry < entries; ++entry) {
      if (entry > 0 && entry == secondHeader) {
        header.streams.push_back(header.streams.front());
        header.streams.back().id = 3;
        note();
        writer.WriteHeader(header);
      }
      layout.entries.push_back(layout.records.size());
      note();
      writer.WriteIndex({static_cast<std::uint32_t>(1000 + 10 * entry), 0, 0});
      for (std::size_t block = 0; block < blocks; ++block) {
        Bytes payload(40 + chance() % 200);
        for (unsigned char& byte : payload) byte = static_cast<unsigned char>(chance());
        note();
        writer.WriteData(static_cast<std::uint8_t>(1 + block % 2), 3, payload.data(),
                         payload.size());
      }
      const std::string text = "event " + std::to_string(entry);
      note();
      writer.WriteData(0x80, 0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
    note();
    writer.Close();
    layout.bytes = ReadFile(path);
    return layout;
  }

  nlohmann::json MendFile(int exitCode) {
    const ProgramResult result = Run({"mend", mPath, "-o", mOutput, "--force", "--format", "json"});
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return result.out.empty() ? nlohmann::json() : nlohmann::json::parse(result.out);
  }

  void ExpectNoError() {
    const ProgramResult looked = Run({"doctor", mOutput, "--format", "json"});
    const auto json = nlohmann::json::parse(looked.out);
    for (const auto& finding : json["findings"]) EXPECT_NE(finding["severity"], "error") << finding;
  }

  void ExpectGood() {
    ExpectNoError();
    EXPECT_EQ(Run({"read", mOutput, "0", "2100-01-01", "-o", mOutputFolder / "copy"}).exitCode, 0);
    EXPECT_EQ(ReadFile(mOutputFolder / "copy"), ReadFile(mOutput));
  }

  const std::string mPath = *this / "a.zel3";
  const TempFolder mOutputFolder;
  const std::string mOutput = mOutputFolder / "out.zel3";
};

// Tells which records of an archive are whole in another file, asked in their order.
class Survivors {
 public:
  explicit Survivors(const Bytes& mended) : mMended(mended.begin(), mended.end()) {}

  bool Has(const Bytes& bytes, std::size_t from, std::size_t to) {
    const std::string record(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                             bytes.begin() + static_cast<std::ptrdiff_t>(to));
    const std::size_t place = mMended.find(record, mPlace);
    if (place == std::string::npos) return false;
    mPlace = place + record.size();
    return true;
  }

 private:
  const std::string mMended;
  std::size_t mPlace = 0;
};

using Hurt = std::function<void(Bytes* bytes, std::mt19937_64* chance)>;

std::size_t Place(const Bytes& bytes, std::mt19937_64* chance) {
  // The header at the start has tests of its own.
  return 200 + (*chance)() % (bytes.size() - 400);
}

void Fill(Bytes* bytes, std::size_t from, std::size_t size, const std::function<int()>& value) {
  for (std::size_t i = from; i < std::min(from + size, bytes->size()); ++i)
    (*bytes)[i] = static_cast<unsigned char>(value());
}

// One kind of damage, done this many times to an archive.
struct Kind {
  const char* name;
  int hurts;
  Hurt hurt;
};

const Kind kKinds[] = {
    {"bit flips", 12,
     [](Bytes* bytes, std::mt19937_64* chance) {
       (*bytes)[Place(*bytes, chance)] ^= static_cast<unsigned char>(1U << ((*chance)() % 8));
     }},
    {"zeroed ranges", 6,
     [](Bytes* bytes, std::mt19937_64* chance) {
       Fill(bytes, Place(*bytes, chance), 512, [] { return 0; });
     }},
    {"overwritten ranges", 6,
     [](Bytes* bytes, std::mt19937_64* chance) {
       Fill(bytes, Place(*bytes, chance), 512, [chance] { return static_cast<int>((*chance)()); });
     }},
    {"ranges taken out", 6,
     [](Bytes* bytes, std::mt19937_64* chance) {
       const auto from = bytes->begin() + static_cast<std::ptrdiff_t>(Place(*bytes, chance));
       bytes->erase(from, from + 100);
     }},
    {"ranges put in", 6,
     [](Bytes* bytes, std::mt19937_64* chance) {
       bytes->insert(bytes->begin() + static_cast<std::ptrdiff_t>(Place(*bytes, chance)), 100,
                     static_cast<unsigned char>((*chance)()));
     }},
    {"a cut tail", 1,
     [](Bytes* bytes, std::mt19937_64* chance) {
       bytes->resize(bytes->size() - (*chance)() % 500);
     }},
    {"lengths that lead far", 6,
     [](Bytes* bytes, std::mt19937_64* chance) {
       (*bytes)[Place(*bytes, chance)] = static_cast<unsigned char>(0x80 | (*chance)());
     }},
    {"a missing header", 1,
     [](Bytes* bytes, std::mt19937_64*) {
       const Bytes marker{0xB5, 0xB5, 0x05, 0xB5};
       const auto later =
           std::search(bytes->begin() + 4, bytes->end(), marker.begin(), marker.end());
       std::fill_n(later, 60, static_cast<unsigned char>(0));
     }},
};

class MendKind : public Mend, public testing::WithParamInterface<Kind> {};

}  // namespace

TEST_P(MendKind, NinetyNinePercentOfTheWholeRecordsSurvive) {
  const Layout layout = Make(mPath, 1000, 6, 500);
  std::uint64_t whole = 0;
  std::uint64_t survived = 0;
  for (unsigned seed = 1; seed <= 2; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937_64 chance(seed);
    Bytes bytes = layout.bytes;
    for (int i = 0; i < GetParam().hurts; ++i) GetParam().hurt(&bytes, &chance);
    WriteFile(mPath, bytes);
    const ProgramResult result = Run({"mend", mPath, "-o", mOutput, "--force"});
    EXPECT_THAT(result.exitCode, testing::AnyOf(0, 3)) << result.err;
    if (result.exitCode == 0) {
      EXPECT_EQ(ReadFile(mOutput), bytes) << "only payloads are hurt";
    }
    ExpectNoError();
    Survivors hurt(bytes);
    Survivors mended(ReadFile(mOutput));
    for (std::size_t i = 0; i + 1 < layout.records.size(); ++i) {
      if (!hurt.Has(layout.bytes, layout.records[i], layout.records[i + 1])) continue;
      ++whole;
      if (mended.Has(layout.bytes, layout.records[i], layout.records[i + 1])) ++survived;
    }
  }
  EXPECT_GT(whole, 2 * 7500U);
  EXPECT_GE(static_cast<double>(survived), 0.99 * static_cast<double>(whole))
      << survived << " of " << whole;
}

std::string NameOf(const testing::TestParamInfo<Kind>& info) {
  std::string name = info.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(OfDamage, MendKind, testing::ValuesIn(kKinds), NameOf);

TEST_F(Mend, AWholeArchiveIsCopiedByteByByte) {
  const Layout layout = Make(mPath, 50, 4, 20);
  const nlohmann::json json = MendFile(0);
  EXPECT_EQ(ReadFile(mOutput), layout.bytes);
  EXPECT_EQ(json["header"], "whole");
  EXPECT_EQ(json["entries"], 50);
  EXPECT_EQ(json["lostBytes"], 0);
  EXPECT_THAT(json["losses"], IsEmpty());
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("a.zel3")) << "no index is needed";
}

TEST_F(Mend, TellsWhatIsLostAndWhere) {
  Layout layout = Make(mPath, 6, 2, 0);
  const std::size_t index = layout.records[layout.entries[3]];
  const std::size_t next = layout.records[layout.entries[4]];
  layout.bytes[index] = 0;
  WriteFile(mPath, layout.bytes);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["losses"],
            nlohmann::json::parse(R"([{"cause":"damage","position":)" + std::to_string(index) +
                                  R"(,"bytes":)" + std::to_string(next - index) +
                                  R"(,"from":1020000,"to":1040000}])"));
  EXPECT_EQ(json["entries"], 5);
  EXPECT_EQ(json["lostBytes"], next - index);
  ExpectGood();
  const ProgramResult text = Run({"mend", mPath, "-o", mOutput, "--force"});
  EXPECT_EQ(text.exitCode, 3);
  EXPECT_THAT(LinesOf(text.out)[1],
              testing::MatchesRegex("damage +" + std::to_string(index) + " +" +
                                    std::to_string(next - index) +
                                    " +1970-01-01T00:17:00.000Z +1970-01-01T00:17:20.000Z"));
}

TEST_F(Mend, AWrongTypeCostsItsOwnRecordOnly) {
  Layout layout = Make(mPath, 4, 4, 0);
  const std::size_t from = layout.records[layout.entries[1] + 2];
  const std::size_t to = layout.records[layout.entries[1] + 3];
  layout.bytes[from + 3] = 0x77;
  WriteFile(mPath, layout.bytes);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["losses"][0]["cause"], "undeclared");
  EXPECT_EQ(json["losses"][0]["position"], from);
  EXPECT_EQ(ReadFile(mOutput),
            Between(layout.bytes, 0, from) + Between(layout.bytes, to, layout.bytes.size()));
  ExpectGood();
}

TEST_F(Mend, TheHeaderAtTheStartIsPutTogetherFromWhatIsLeft) {
  const Layout layout = Make(mPath, 6, 2, 0);
  for (const std::size_t hurt : {0, 2, 4, 5, 6}) {
    SCOPED_TRACE(hurt);
    Bytes bytes = layout.bytes;
    bytes[hurt] ^= 0x11;
    WriteFile(mPath, bytes);
    const nlohmann::json json = MendFile(3);
    EXPECT_EQ(json["header"], "restored");
    EXPECT_EQ(ReadFile(mOutput), layout.bytes);
  }
}

TEST_F(Mend, ALaterHeaderStandsInForOneThatIsLost) {
  const Layout layout = Make(mPath, 20, 2, 10);
  const std::size_t first = layout.records[1];
  Bytes bytes = layout.bytes;
  std::fill_n(bytes.begin(), first, static_cast<unsigned char>(0));
  WriteFile(mPath, bytes);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["header"], "later");
  EXPECT_EQ(json["entries"], 20);
  const std::size_t later = layout.entries[10] - 1;
  EXPECT_EQ(ReadFile(mOutput), Between(bytes, layout.records[later], layout.records[later + 1]) +
                                   Between(bytes, first, bytes.size()));
  ExpectGood();
  const ProgramResult text = Run({"mend", mPath, "-o", mOutput, "--force"});
  EXPECT_THAT(text.err, HasSubstr("the one at byte " + std::to_string(layout.records[later])));
}

TEST_F(Mend, ALaterHeaderThatDeclaresOtherStreamsDoesNot) {
  Bytes bytes;
  {
    ArchiveWriter writer(mPath);
    ArchiveHeader header = OneStreamHeader();
    const Bytes payload(50, 'x');
    for (const std::uint8_t stream : {1, 2}) {
      header.streams.front().id = stream;
      writer.WriteHeader(header);
      for (std::uint32_t i = 0; i < 4; ++i) {
        writer.WriteIndex({100U * stream + i, 0, 0});
        writer.WriteData(stream, 0, payload.data(), payload.size());
      }
    }
    writer.Close();
    bytes = ReadFile(mPath);
  }
  const std::size_t size = bytes.size() / 2;
  std::fill_n(bytes.begin(), 20, static_cast<unsigned char>(0));
  WriteFile(mPath, bytes);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["header"], "whole");
  EXPECT_EQ(json["entries"], 4);
  EXPECT_EQ(json["lostBytes"], size);
  EXPECT_EQ(ReadFile(mOutput), Between(bytes, size, bytes.size()));
  ExpectGood();
}

TEST_F(Mend, ALossEndsWithTheNextEntryThatIsNotLost) {
  const Layout layout = Make(mPath, 6, 2, 4);
  Bytes bytes = layout.bytes;
  ArchiveHeader other = OneStreamHeader();
  other.streams.front().id = 9;
  const Bytes header = *EncodeHeaderRecord(other);
  const std::size_t later = layout.records[layout.entries[4] - 1];
  const std::size_t end = layout.records[layout.entries[4]];
  std::fill_n(bytes.begin(), layout.records[1], static_cast<unsigned char>(0));
  bytes = Between(bytes, 0, later) + header + Between(bytes, end, end + 13);
  WriteFile(mPath, bytes);
  const nlohmann::json json = MendFile(3);
  const auto& lost = json["losses"].back();
  EXPECT_EQ(lost["cause"], "no-header");
  EXPECT_EQ(lost["to"], 1040000);
}

TEST_F(Mend, WithoutAHeaderItFails) {
  const Layout layout = Make(mPath, 6, 2, 0);
  Bytes bytes = layout.bytes;
  std::fill_n(bytes.begin(), layout.records[1], static_cast<unsigned char>(0));
  for (const Bytes& each : {bytes, Bytes(1000, 'x'), Bytes(), Bytes(3, 0xB5)}) {
    WriteFile(mPath, each);
    const ProgramResult result = Run({"mend", mPath, "-o", mOutput});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("no stream header is whole"));
    EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
  }
}

TEST_F(Mend, DataBetweenAHeaderAndAnIndexRecordIsOfNoEntry) {
  const Layout layout = Make(mPath, 4, 2, 0);
  // The first index record is removed.
  Bytes bytes = layout.bytes;
  bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(layout.records[1]),
              bytes.begin() + static_cast<std::ptrdiff_t>(layout.records[2]));
  WriteFile(mPath, bytes);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["losses"][0]["cause"], "no-index");
  EXPECT_EQ(ReadFile(mOutput),
            Between(layout.bytes, 0, layout.records[1]) +
                Between(layout.bytes, layout.records[layout.entries[1]], layout.bytes.size()));
  EXPECT_EQ(Run({"doctor", mOutput}).exitCode, 0);
}

TEST_F(Mend, WhatItRefuses) {
  const Layout layout = Make(mPath, 3, 1, 0);
  EXPECT_EQ(Run({"mend", mPath, "-o", mPath, "--force"}).exitCode, 2);
  EXPECT_EQ(Run({"mend", mPath, "-o", "-"}).exitCode, 2);
  EXPECT_EQ(Run({"mend", mPath, "-o", mOutputFolder / "out"}).exitCode, 2);
  EXPECT_EQ(Run({"mend", Folder(), "-o", mOutput}).exitCode, 1);
  EXPECT_EQ(Run({"mend", "/dev/stdin", "-o", mOutput}).exitCode, 1);
  WriteFile(mOutput, "precious");
  EXPECT_EQ(Run({"mend", mPath, "-o", mOutput}).exitCode, 1);
  EXPECT_EQ(ReadFile(mOutput).size(), 8U);
  EXPECT_EQ(ReadFile(mPath), layout.bytes);
}

TEST_F(Mend, OneThatIsKilledLeavesNothingUnderTheFinalName) {
  const rlim_t room = Make(mPath, 6, 2, 0).bytes.size() / 2;
  Start({"mend", mPath, "-o", mOutput}, [room] {
    // The signal for a file that grows too large ends the program at once, as a kill does.
    const rlimit none{0, 0}, small{room, room};
    setrlimit(RLIMIT_CORE, &none);
    setrlimit(RLIMIT_FSIZE, &small);
  });
  EXPECT_EQ(Finish().exitCode, 128 + SIGXFSZ);
  EXPECT_FALSE(FileExists(mOutput));
}

TEST_F(Mend, AHoleOfManyGigabytesCostsNothing) {
  const Layout layout = Make(mPath, 6, 2, 0);
  constexpr std::uint64_t kHole = std::uint64_t{64} << 30;
  std::filesystem::resize_file(mPath, layout.bytes.size() + kHole);
  const nlohmann::json json = MendFile(3);
  EXPECT_EQ(json["lostBytes"], kHole);
  EXPECT_EQ(ReadFile(mOutput), layout.bytes);
}
