#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

namespace fs = std::filesystem;

// Archives whose indexes no longer belong to them, and what the program does about it.
class Trust : public ProgramTest {
 protected:
  // An entry at each of these index times, with a block of stream 1 and an event.
  static Bytes Write(const std::string& path, const std::vector<std::uint32_t>& times,
                     unsigned char fill = 'x') {
    ArchiveWriter writer(path);
    writer.WriteHeader(OneStreamHeader());
    const Bytes payload(500, fill);
    for (const std::uint32_t time : times) {
      writer.WriteIndex({time, 0, 1});
      writer.WriteData(1, 5, payload.data(), static_cast<std::uint16_t>(payload.size()));
      writer.WriteData(0xFA, 0, reinterpret_cast<const unsigned char*>("event"), 5);
    }
    writer.Close();
    return ReadFile(path);
  }

  // Gives the file another time, so that it is not taken for the one checked before.
  static void MakeOld(const std::string& path) { SetModificationTime(path, 1600000000); }

  nlohmann::json Json(Arguments arguments, int exitCode) {
    arguments.insert(arguments.end(), {"--format", "json"});
    mResult = Run(arguments);
    EXPECT_EQ(mResult.exitCode, exitCode) << mResult.err;
    return nlohmann::json::parse(mResult.out);
  }

  std::size_t CountEvents(const std::string& source, int exitCode, const Arguments& options = {}) {
    Arguments arguments{"events", source};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Json(arguments, exitCode)["events"].size();
  }

  Bytes AllBytes(const std::string& source, int exitCode = 0) {
    mResult = Run({"read", source, "0", "2100-01-01", "-o", mOutput});
    EXPECT_EQ(mResult.exitCode, exitCode) << mResult.err;
    return ReadFile(mOutput);
  }

  const std::string mPath = *this / "a.zel3";
  const TempFolder mOutputFolder;
  const std::string mOutput = mOutputFolder / "out";
  ProgramResult mResult;
};

constexpr char kBuiltAgain[] = "zel3: a.zel3 [^\n]+; the index is built again\n";

}  // namespace

TEST_F(Trust, AnArchiveThatHasGrownIsIndexedAgain) {
  Write(mPath, {10, 20, 30});
  MakeOld(mPath);
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  const Bytes grown = Write(mPath, {10, 20, 30, 40, 50});
  MakeOld(mPath);
  EXPECT_EQ(CountEvents(mPath, 0), 5U);
  EXPECT_THAT(mResult.err, MatchesRegex(kBuiltAgain));
  EXPECT_EQ(AllBytes(mPath), grown);
  EXPECT_THAT(mResult.err, Not(HasSubstr("built again"))) << "once";
}

TEST_F(Trust, AnArchiveThatWasReplacedIsIndexedAgain) {
  Write(mPath, {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  const Bytes other = Write(mPath, {1000, 1010, 1020}, 'y');
  EXPECT_EQ(AllBytes(mPath), other);
  EXPECT_THAT(mResult.err, HasSubstr("; the index is built again\n"));
  EXPECT_EQ(Run({"seek", mPath, "10000"}).exitCode, 4);
  EXPECT_EQ(Json({"seek", mPath, "1010000"}, 0)["entryNumber"], 1);
}

TEST_F(Trust, SwappedIndexesAreBuiltAgain) {
  const Bytes first = Write(mPath, {10, 20, 30});
  const Bytes second = Write(*this / "b.zel3", {40, 51, 62});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  for (const char* const suffix : {"id3", "hdr", "evt"}) {
    fs::rename(*this / (std::string("a.") + suffix), *this / "c");
    fs::rename(*this / (std::string("b.") + suffix), *this / (std::string("a.") + suffix));
    fs::rename(*this / "c", *this / (std::string("b.") + suffix));
  }
  EXPECT_EQ(AllBytes(Folder()), first + second);
  EXPECT_THAT(mResult.err, AllOf(HasSubstr("a.zel3 "), HasSubstr("b.zel3 ")));
  EXPECT_EQ(Json({"seek", Folder(), "51000"}, 0)["file"], "b.zel3");
}

// As long as the index itself, so that each byte matters.
TEST_F(Trust, NoByteOfASmallIndexIsBelievedBlindly) {
  const Bytes bytes = Write(mPath, {10, 20, 30});
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  const std::string entries = *this / "a.id3";
  const Bytes index = ReadFile(entries);
  for (std::size_t i = 0; i < index.size(); ++i) {
    SCOPED_TRACE(i);
    Bytes changed = index;
    changed[i] ^= 0x10;
    WriteFile(entries, changed);
    const auto activity =
        Json({"activity", mPath, "10000", "40000", "--stream", "1", "--bins", "3"}, 0);
    for (const auto& bin : activity["bins"]) EXPECT_EQ(bin["level"], 10);
    EXPECT_EQ(AllBytes(mPath), bytes);
  }
}

TEST_F(Trust, ATruncatedIndexIsBuiltAgain) {
  const Bytes bytes = Write(mPath, {10, 20, 30, 40});
  MakeOld(mPath);
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  const std::string entries = *this / "a.id3";
  const auto size = fs::file_size(entries);
  for (const auto kept : {size / 2, std::uintmax_t{0}}) {
    fs::resize_file(entries, kept);
    EXPECT_EQ(AllBytes(mPath), bytes) << kept;
    EXPECT_EQ(fs::file_size(entries), size);
  }
  fs::resize_file(entries, size - 1);
  EXPECT_EQ(AllBytes(mPath), bytes);
  EXPECT_EQ(fs::file_size(entries), size - 1) << "it could be something else, and is left alone";
}

TEST_F(Trust, AnIncompleteIndexIsBuiltAgain) {
  const Bytes bytes = Write(mPath, {10, 20, 30});
  for (const char* const name : {"a.hdr", "a.evt", "a.id3"}) {
    ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
    fs::remove(*this / name);
    EXPECT_EQ(AllBytes(mPath), bytes) << name;
    EXPECT_EQ(CountEvents(mPath, 0), 3U) << name;
  }
}

TEST_F(Trust, WithoutBuildingAnIndexAnArchiveThatHasGrownIsServedUpToThere) {
  Write(mPath, {10, 20, 30});
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  Write(mPath, {10, 20, 30, 40, 50});
  const std::vector<std::string> before = EntryNames(Folder());
  EXPECT_GE(CountEvents(Folder(), 3, {"--no-index"}), 3U);
  EXPECT_THAT(mResult.err, MatchesRegex("zel3: a.zel3 [^\n]*left out\n"));
  const auto activity = Json(
      {"activity", Folder(), "10000", "60000", "--stream", "1", "--bins", "5", "--no-index"}, 3);
  std::vector<bool> recorded;
  for (const auto& bin : activity["bins"]) recorded.push_back(bin["recorded"]);
  EXPECT_THAT(recorded, ElementsAre(true, true, true, false, false));
  EXPECT_EQ(EntryNames(Folder()), before);
}

TEST_F(Trust, WithoutBuildingAnIndexThatOfAnotherArchiveIsNotUsed) {
  Write(mPath, {10, 20, 30});
  Write(*this / "b.zel3", {40, 50, 60});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  Write(mPath, {11, 22, 33, 39}, 'y');
  const Arguments options{"10000", "70000", "--stream", "1", "--bins", "6", "--no-index"};
  const auto activity = [&](const std::string& source) {
    Arguments arguments{"activity", source};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Json(arguments, 3);
  };
  const nlohmann::json ofFolder = activity(Folder());
  EXPECT_THAT(mResult.err, MatchesRegex("zel3: a.zel3 [^\n]*; it is left out\n"));
  std::vector<bool> recorded;
  for (const auto& bin : ofFolder["bins"]) recorded.push_back(bin["recorded"]);
  EXPECT_THAT(recorded, ElementsAre(false, false, false, true, true, true));
  EXPECT_THAT(activity(mPath)["bins"], IsEmpty());
  EXPECT_EQ(CountEvents(Folder(), 0, {"--no-index"}), 7U) << "they are read from the archive";
}

TEST_F(Trust, OneBadFileCostsItsOwnTimeOnly) {
  Write(*this / "b.zel3", {40, 50, 60});
  Write(*this / "c.zel3", {70, 80, 90});
  for (const std::string bad : {"a.zel3", "b2.zel3", "z.zel3", "bad\xff.zel3", "old.zel"}) {
    SCOPED_TRACE(bad);
    WriteFile(*this / bad, std::string(3000, 'x'));
    for (const std::uint32_t time : {0U, 65U, 4000000000U}) {
      SetModificationTime(*this / bad, time);
      EXPECT_EQ(CountEvents(Folder(), 3), 6U);
      EXPECT_EQ(Json({"seek", Folder(), "75000"}, 3)["file"], "c.zel3");
      EXPECT_EQ(Json({"info", Folder()}, 3)["files"].size(), 2U);
      EXPECT_EQ(
          Json({"preview", Folder(), "40000", "90000", "--count", "2"}, 3)["positions"].size(), 2U);
      EXPECT_EQ(Json({"activity", Folder(), "40000", "100000", "--stream", "1", "--bins", "6"},
                     3)["bins"][5]["recorded"],
                true);
    }
    fs::remove(*this / bad);
  }
}

TEST_F(Trust, AFrontThatIsDamagedCostsItselfOnly) {
  Bytes bytes = Write(mPath, {10, 20, 30, 40});
  const std::size_t entry = (bytes.size() - 32) / 4;
  std::fill(bytes.begin(), bytes.begin() + 100, static_cast<unsigned char>(0));
  WriteFile(mPath, bytes);
  const Bytes served = AllBytes(mPath, 3);
  EXPECT_EQ(served, Between(bytes, bytes.size() - 3 * entry, bytes.size()));
}

TEST_F(Trust, NamesThatAreNotTextAreServed) {
  const std::string name = "b\xff\xfe.zel3";
  const Bytes bytes = Write(*this / name, {10, 20, 30});
  const std::string shown = "b\xEF\xBF\xBD\xEF\xBF\xBD.zel3";
  EXPECT_EQ(Json({"info", Folder()}, 0)["files"][0]["file"], shown);
  EXPECT_EQ(Json({"index", Folder()}, 0)["files"][0]["state"], "indexed");
  EXPECT_EQ(Json({"index", Folder()}, 0)["files"][0]["state"], "cached");
  EXPECT_EQ(Json({"seek", *this / name, "20000"}, 0)["entryNumber"], 1);
  EXPECT_EQ(AllBytes(Folder()), bytes);
  EXPECT_EQ(CountEvents(Folder(), 0), 3U);
}

TEST_F(Trust, AWrongTimeIsNotAPlaceInTime) {
  Write(mPath, {10, 20, 4000000000, 40, 50});
  EXPECT_EQ(Json({"info", mPath}, 0)["files"][0]["end"], 50000);
  Run({"index", mPath});
  EXPECT_EQ(Json({"info", mPath}, 0)["files"][0]["end"], 50000);
  EXPECT_EQ(Run({"seek", mPath, "4000000000000"}).exitCode, 4);
  EXPECT_EQ(Json({"seek", mPath, "45000"}, 0)["entryNumber"], 3);
  const auto positions = Json({"preview", mPath, "10000", "60000", "--count", "5"}, 0)["positions"];
  std::vector<int> entries;
  for (const auto& position : positions) entries.push_back(position["entry"]["entryNumber"]);
  EXPECT_THAT(entries, ElementsAre(0, 1, 3, 3, 4));
  const auto activity = Json({"activity", mPath, "--stream", "1", "--bins", "5"}, 3);
  EXPECT_THAT(mResult.err, HasSubstr("has 1 entry with a wrong time; its level is not counted"));
  EXPECT_EQ(activity["from"], 10000);
  EXPECT_EQ(activity["to"], 60000);

  Write(mPath, {10, 20, 4000000000, 40, 50, 500, 510});
  EXPECT_EQ(Run({"read", mPath, "100000", "200000"}).exitCode, 4) << "levels are not asked for";
}

TEST_F(Trust, AnUndeclaredStreamIsServedAndTold) {
  Bytes bytes = Write(mPath, {10, 20, 30});
  // The type of the block of the first entry, after its index record.
  bytes[32 + 13 + 3] = 9;
  WriteFile(mPath, bytes);
  EXPECT_EQ(AllBytes(mPath, 3), bytes);
  EXPECT_THAT(mResult.err, HasSubstr("1 entry with data of a stream that no header declares"));
}

TEST_F(Trust, RefreshBuildsEveryIndexAgain) {
  Write(mPath, {10, 20, 30});
  Write(*this / "b.zel3", {40, 50});
  const auto states = [this](const Arguments& options) {
    Arguments arguments{"index", Folder()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::vector<std::string> list;
    const nlohmann::json answer = Json(arguments, 0);
    for (const auto& file : answer["files"]) list.push_back(file["state"]);
    return list;
  };
  EXPECT_THAT(states({}), ElementsAre("indexed", "indexed"));
  EXPECT_THAT(states({}), ElementsAre("cached", "cached"));
  EXPECT_THAT(states({"--refresh"}), ElementsAre("indexed", "indexed"));
  EXPECT_THAT(states({}), ElementsAre("cached", "cached"));
}

TEST_F(Trust, AnArchiveThatIsBeingWrittenIsServedUpToItsLastWholeRecord) {
  const Bytes bytes = Write(mPath, {10, 20, 30, 40});
  constexpr std::size_t kEvent = 9;
  const std::size_t entry = (bytes.size() - 32) / 4;
  const std::size_t secondEnds = bytes.size() - 2 * entry;
  // An index in the private folder is named after the second in which its archive was written.
  const std::time_t second = std::time(nullptr) - 1;
  WriteFile(mPath, Between(bytes, 0, secondEnds - 1));
  SetModificationTime(mPath, second);
  EXPECT_EQ(AllBytes(mPath, 3), Between(bytes, 0, secondEnds - kEvent));
  EXPECT_THAT(mResult.err, HasSubstr("the last record is not whole; 8 bytes were skipped"));
  WriteFile(mPath, bytes);
  SetModificationTime(mPath, second);
  EXPECT_EQ(AllBytes(mPath), bytes);
  EXPECT_EQ(CountEvents(mPath, 0), 4U);
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("a.zel3")) << "nothing is left beside it";

  SetModificationTime(mPath, second + 1);
  EXPECT_EQ(AllBytes(mPath), bytes);
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("a.evt", "a.hdr", "a.id3", "a.zel3"))
      << "no index of it is known any more, and it is whole";
}

TEST_F(Trust, OverlappingFilesAreAskedInTheOrderOfTheirStarts) {
  const Bytes first = Write(*this / "z.zel3", {10, 20, 30, 40, 50, 60});
  const Bytes second = Write(*this / "b.zel3", {35, 45, 55, 65, 75});
  EXPECT_EQ(AllBytes(Folder()), first + second);
  EXPECT_THAT(mResult.err, HasSubstr("the time goes back from 1970-01-01T00:01:00.000Z to "
                                     "1970-01-01T00:00:35.000Z\n"));
  EXPECT_EQ(Json({"seek", Folder(), "20000"}, 0)["file"], "z.zel3");
  EXPECT_EQ(Json({"seek", Folder(), "70000"}, 0)["file"], "b.zel3");
  EXPECT_EQ(CountEvents(Folder(), 0), 11U);
}

TEST_F(Trust, AllThatIsKeptMayBeRemovedAtAnyTime) {
  const Bytes bytes = Write(mPath, {10, 20, 30});
  MakeOld(mPath);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(AllBytes(mPath), bytes);
    EXPECT_EQ(mResult.err, "3 entries, " + std::to_string(bytes.size()) + " bytes\n");
  }
  fs::remove_all(CacheHome());
  EXPECT_EQ(AllBytes(mPath), bytes);
  for (const char* const name : {"a.id3", "a.hdr", "a.evt"}) fs::remove(*this / name);
  EXPECT_EQ(AllBytes(mPath), bytes);
  EXPECT_EQ(mResult.err, "3 entries, " + std::to_string(bytes.size()) + " bytes\n");
}
