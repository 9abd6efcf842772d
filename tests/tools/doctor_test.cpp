#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

namespace fs = std::filesystem;

class Doctor : public ProgramTest {
 protected:
  nlohmann::json Examine(const std::string& path, const Arguments& options = {}) {
    Arguments arguments{"doctor", path, "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mResult = Run(arguments);
    return nlohmann::json::parse(mResult.out);
  }

  // "severity kind file", each with the numbers that it has: "@position +bytes".
  static std::vector<std::string> Findings(const nlohmann::json& report) {
    std::vector<std::string> lines;
    for (const nlohmann::json& finding : report["findings"]) {
      std::string line = finding["severity"].get<std::string>() + " " +
                         finding["kind"].get<std::string>() + " " +
                         finding["file"].get<std::string>();
      if (!finding["position"].is_null()) line += " @" + finding["position"].dump();
      if (!finding["bytes"].is_null()) line += " +" + finding["bytes"].dump();
      lines.push_back(line);
    }
    return lines;
  }
  std::vector<std::string> FindingsIn(const std::string& path, const Arguments& options = {}) {
    return Findings(Examine(path, options));
  }

  // An archive with entries at these index times, each with a block of 100 bytes.
  std::string Write(const std::string& name, const std::vector<std::uint32_t>& times,
                    std::int16_t firstIndexDelta = kFirstIndexDelta) {
    const std::string path = *this / name;
    ArchiveHeader header = OneStreamHeader();
    header.firstIndexDelta = firstIndexDelta;
    ArchiveWriter writer(path);
    writer.WriteHeader(header);
    mPositions.clear();
    const Bytes payload(100, 7);
    for (const std::uint32_t time : times) {
      mPositions.push_back(writer.Position());
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, 3, payload.data(), payload.size());
    }
    mSize = writer.Position();
    writer.Close();
    return path;
  }

  std::string At(std::size_t entry) const { return " @" + std::to_string(mPositions[entry]); }

  void Overwrite(const std::string& path, std::uint64_t position, const Bytes& bytes) const {
    Bytes file = ReadFile(path);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(position));
    WriteFile(path, file);
  }

  ProgramResult mResult;
  std::vector<std::uint64_t> mPositions;  // of the entries written last
  std::uint64_t mSize = 0;
};

}  // namespace

TEST_F(Doctor, FindsNothingInAGoodArchive) {
  const std::string path = Write("a.zel3", {10, 20, 30});
  const nlohmann::json report = Examine(path);
  EXPECT_EQ(mResult.exitCode, 0);
  EXPECT_EQ(report["source"], path);
  EXPECT_THAT(report["findings"], IsEmpty());
  EXPECT_EQ(report["files"].dump(),
            R"([{"bytes":)" + std::to_string(mSize) +
                R"(,"cache":"none","end":30000,"entries":3,"file":"a.zel3","start":10000}])");
}

TEST_F(Doctor, TellsWhatIsNotAnArchive) {
  WriteFile(*this / "long.zel3", std::string(500, 'x'));
  WriteFile(*this / "short.zel3", "too short");
  WriteFile(*this / "empty.zel3", "");
  EXPECT_THAT(FindingsIn(Folder()),
              ElementsAre("error too-small empty.zel3", "error damage long.zel3 @0 +500",
                          "error no-header long.zel3", "error too-small short.zel3",
                          "error damage short.zel3 @0 +9"));
  EXPECT_EQ(mResult.exitCode, 3);
}

TEST_F(Doctor, AHoleCostsNothing) {
  constexpr std::uint64_t kSize = std::uint64_t{64} << 30;
  const std::string path = Write("a.zel3", {10, 20, 30});
  fs::resize_file(path, kSize);
  EXPECT_THAT(FindingsIn(path), ElementsAre("error damage a.zel3 @" + std::to_string(mSize) + " +" +
                                            std::to_string(kSize - mSize)));
}

TEST_F(Doctor, AnArchiveWithoutEntriesHoldsNoTime) {
  EXPECT_THAT(FindingsIn(Write("a.zel3", {})),
              ElementsAre("error no-index a.zel3", "warning first-index-place a.zel3 @0"));
}

TEST_F(Doctor, TellsWhereDamageIsAndHowMuch) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40});
  // The index record of the second entry: its data is lost, too.
  Overwrite(path, mPositions[1], Bytes(13, 0xEE));
  const nlohmann::json report = Examine(path);
  EXPECT_THAT(Findings(report), ElementsAre("error damage a.zel3" + At(1) + " +117"));
  EXPECT_EQ(report["findings"][0]["from"], 10000) << "the entry before it";
  EXPECT_EQ(report["findings"][0]["to"], nullptr);
  EXPECT_EQ(mResult.exitCode, 3);
  EXPECT_THAT(Run({"doctor", path}).out,
              HasSubstr("is not a record; skipped (after 1970-01-01T00:00:10.000Z)"));
}

// Without its header, no data of the archive can be read, and its index holds more.
TEST_F(Doctor, ADestroyedHeaderIsToldOnceAndFirst) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  Overwrite(path, 0, Bytes(20, 0));
  const nlohmann::json report = Examine(path);
  // What an entry is made of: the record itself and its data.
  const std::uint64_t data = mPositions[1] - mPositions[0] - 13;
  EXPECT_THAT(Findings(report),
              ElementsAre("error damage a.zel3 @0 +" + std::to_string(mPositions[0]),
                          "error no-header a.zel3 @" + std::to_string(mPositions[0] + 13) + " +" +
                              std::to_string(4 * data),
                          "warning cache-mismatch a.hdr"));
  EXPECT_EQ(report["findings"][1]["text"],
            "without a header nothing can be read; 4 stretches are skipped");
  EXPECT_EQ(report["findings"][2]["text"], "holds more than the damaged archive: 1 header");
}

TEST_F(Doctor, DataBeforeTheFirstHeaderIsToldOnce) {
  const Bytes good = ReadFile(Write("a.zel3", {10, 20, 30}));
  const std::uint64_t size = good.size();
  const std::string path = *this / "b.zel3";
  WriteFile(path, Between(good, mPositions[0], size) + good);
  const nlohmann::json report = Examine(path);
  EXPECT_EQ(report["findings"][0]["kind"], "damage");
  EXPECT_EQ(report["findings"][0]["position"], 13);
  EXPECT_EQ(report["findings"][0]["text"],
            "cannot be read without a header; 3 stretches are skipped");
  for (std::size_t i = 1; i < report["findings"].size(); ++i)
    EXPECT_NE(report["findings"][i]["kind"], "damage");
}

TEST_F(Doctor, WhatAnIndexHoldsOfADamagedStretchIsToldAfterTheDamage) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40, 50, 60, 70, 80});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  const Bytes entries = ReadFile(*this / "a.id3");
  Overwrite(path, mPositions[2], Bytes(mPositions[6] - mPositions[2], 0xEE));
  const std::string damage =
      "error damage a.zel3" + At(2) + " +" + std::to_string(mPositions[6] - mPositions[2]);
  nlohmann::json report = Examine(path);
  EXPECT_THAT(Findings(report),
              ElementsAre(damage, "note gap a.zel3" + At(6), "warning cache-mismatch a.id3"));
  EXPECT_EQ(report["findings"][1]["text"], "nothing is found; bytes in between are damaged");
  EXPECT_EQ(report["findings"][2]["text"], "holds more than the damaged archive: 4 entries");
  EXPECT_EQ(report["files"][0]["cache"], "unsound");

  // An index that is wrong where the archive is sound is not explained by the damage.
  for (const std::size_t entry : {0U, 7U}) {
    Bytes wrong = entries;
    wrong[entry * 24 + 8] ^= 1;
    WriteFile(*this / "a.id3", wrong);
    report = Examine(path);
    EXPECT_EQ(report["findings"][2]["text"],
              "is not of this archive: entry " + std::to_string(entry) +
                  " differs from that at byte " + std::to_string(mPositions[entry]));
  }
}

TEST_F(Doctor, WhatAnIndexHoldsOfACutOffTailIsToldAfterTheCut) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  fs::resize_file(path, mPositions[2] + 5);
  const nlohmann::json report = Examine(path);
  EXPECT_THAT(Findings(report), ElementsAre("warning cut-off a.zel3" + At(2) + " +5",
                                            "warning cache-mismatch a.id3"));
  EXPECT_EQ(report["findings"][1]["text"], "holds more than the damaged archive: 2 entries");
}

TEST_F(Doctor, TellsAHeadThatFoldersDoNotOpenBy) {
  EXPECT_THAT(FindingsIn(Write("a.zel3", {10, 20}, kFirstIndexDelta + 1)),
              ElementsAre("warning first-index-place a.zel3 @0"));
  const Bytes good = ReadFile(Write("b.zel3", {10, 20}));
  WriteFile(*this / "c.zel3", Bytes(65532, 0xEE) + good);
  EXPECT_THAT(FindingsIn(*this / "c.zel3"),
              ElementsAre("error damage c.zel3 @0 +65532", "warning late-header c.zel3 @65532"));
}

TEST_F(Doctor, OlderFilesHaveNoHeadToOpenBy) {
  EXPECT_THAT(FindingsIn(Write("a.zel", {10, 20}, kFirstIndexDelta + 1)),
              ElementsAre("error no-parser a.zel"));
}

TEST_F(Doctor, TellsATailThatIsCutOff) {
  const std::string path = Write("a.zel3", {10, 20});
  fs::resize_file(path, mSize - 60);
  EXPECT_THAT(FindingsIn(path),
              ElementsAre("warning cut-off a.zel3 @" + std::to_string(mSize - 104) + " +44"));
}

TEST_F(Doctor, TellsTimesThatRunBackwardsAndGaps) {
  const std::string path = Write("a.zel3", {10, 20, 30, 15, 25, 35, 76, 76, 76});
  const nlohmann::json report = Examine(path);
  EXPECT_THAT(Findings(report),
              ElementsAre("warning backwards a.zel3" + At(3), "note gap a.zel3" + At(6),
                          "note same-time a.zel3" + At(7)));
  EXPECT_EQ(report["findings"][0]["from"], 30000);
  EXPECT_EQ(report["findings"][0]["to"], 15000);
  EXPECT_EQ(report["findings"][1]["from"], 35000);
  EXPECT_EQ(report["findings"][1]["to"], 76000);
  EXPECT_EQ(report["findings"][2]["text"], "2 entries with the time of the one before");
}

// One bit of the time is wrong; such a time is neither the start nor the end of the file.
TEST_F(Doctor, TellsAWrongTimeAndKeepsItsEntryInItsPlace) {
  constexpr std::uint32_t kWrong = 0x80000000;
  const struct {
    const char* what;
    std::vector<std::uint32_t> times;
    std::size_t wrong;
    int place;
    int start;
    int end;
  } cases[] = {
      {"the first", {kWrong, 20, 30, 40}, 0, 20, 20, 40},
      {"too early", {10, 1, 30, 40}, 1, 10, 10, 40},
      {"too late", {10, 20, kWrong, 40, 50}, 2, 20, 10, 50},
      {"the one before the last", {10, 20, kWrong, 40}, 2, 20, 10, 40},
      {"the last", {10, 20, 30, 1}, 3, 30, 10, 30},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const std::string path = Write("a.zel3", row.times);
    const nlohmann::json report = Examine(path);
    EXPECT_EQ(mResult.exitCode, 3);
    ASSERT_THAT(Findings(report), ElementsAre("warning misplaced a.zel3" + At(row.wrong)));
    EXPECT_EQ(report["findings"][0]["from"], 1000 * row.place);
    EXPECT_EQ(report["findings"][0]["to"], nullptr);
    EXPECT_EQ(report["findings"][0]["remedy"],
              "copy the file again from its source, or do without the time");
    EXPECT_EQ(report["files"][0]["start"], 1000 * row.start);
    EXPECT_EQ(report["files"][0]["end"], 1000 * row.end);
    ASSERT_EQ(Run({"index", path}).exitCode, 0);
    const nlohmann::json info = nlohmann::json::parse(Run({"info", path, "--format", "json"}).out);
    EXPECT_EQ(info["files"][0]["start"], report["files"][0]["start"]);
    EXPECT_EQ(info["files"][0]["end"], report["files"][0]["end"]);
    fs::remove(*this / "a.id3");
    fs::remove(*this / "a.hdr");
    fs::remove(*this / "a.evt");
  }
}

TEST_F(Doctor, DamageInAnEntryWithAWrongTimeIsToldWithItsPlace) {
  const std::string path = Write("a.zel3", {10, 20, 0x80000000, 40, 50});
  Overwrite(path, mPositions[2] + 13, Bytes(4, 0xEE));
  const nlohmann::json report = Examine(path);
  ASSERT_THAT(Findings(report),
              ElementsAre("error damage a.zel3 @" + std::to_string(mPositions[2] + 13) + " +104",
                          "warning misplaced a.zel3" + At(2)));
  EXPECT_EQ(report["findings"][0]["from"], 20000);
}

TEST_F(Doctor, GapsAreMeasuredByTheTypicalStep) {
  const nlohmann::json report = Examine(Write("a.zel3", {10, 500, 510, 520, 530, 571}));
  EXPECT_THAT(Findings(report), ElementsAre("note gap a.zel3" + At(1), "note gap a.zel3" + At(5)))
      << "a gap after the first entry hides no other";

  // Before nine steps are known, and after them.
  std::vector<std::uint32_t> times;
  for (std::uint32_t i = 0; i < 20; ++i)
    times.push_back(10 * i + (i < 3 ? 0 : 31) + (i < 15 ? 0 : 31));
  const std::string path = Write("a.zel3", times);
  EXPECT_THAT(FindingsIn(path), ElementsAre("note gap a.zel3" + At(3), "note gap a.zel3" + At(15)));
}

TEST_F(Doctor, AWrongTimeBetweenDoesNotHideThatAGapIsDamage) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40, 50, 60, 0x80000000, 80, 90});
  Overwrite(path, mPositions[2], Bytes(mPositions[6] - mPositions[2], 0xEE));
  const nlohmann::json report = Examine(path);
  ASSERT_EQ(report["findings"].size(), 3U) << report;
  EXPECT_EQ(report["findings"][1]["kind"], "misplaced");
  EXPECT_EQ(report["findings"][2]["kind"], "gap");
  EXPECT_EQ(report["findings"][2]["text"], "nothing is found; bytes in between are damaged");
}

TEST_F(Doctor, TellsWhatToDoOnceForEachKind) {
  const std::string path = Write("a.zel3", {10, 20, 30, 15, 25, 35, 15, 25, 35, 76});
  const nlohmann::json report = Examine(path);
  EXPECT_THAT(Findings(report),
              ElementsAre("warning backwards a.zel3" + At(3), "warning backwards a.zel3" + At(6),
                          "note gap a.zel3" + At(9)));
  EXPECT_EQ(report["findings"][1]["remedy"], "nothing, if the recorder's clock was set back");
  EXPECT_EQ(report["findings"][2]["remedy"], "nothing, if no recording was expected then");
  std::vector<std::string> lines = LinesOf(Run({"doctor", path}).out);
  lines.erase(lines.begin(), lines.begin() + 4);
  EXPECT_THAT(lines, ElementsAre("", "kind       what to do",
                                 "backwards  nothing, if the recorder's clock was set back",
                                 "gap        nothing, if no recording was expected then", "",
                                 "1 file: 0 errors, 2 warnings, 1 note"));
}

TEST_F(Doctor, TellsHowFilesFollowEachOther) {
  Write("a.zel3", {10, 20, 30});
  Write("b.zel3", {50, 60, 70});
  EXPECT_THAT(FindingsIn(Folder()), IsEmpty()) << "two steps are no gap";
  Write("b.zel3", {51, 61, 71});
  Write("c.zel3", {65, 75, 85});
  const nlohmann::json report = Examine(Folder());
  EXPECT_THAT(Findings(report), ElementsAre("note gap b.zel3", "warning overlap c.zel3"));
  EXPECT_EQ(report["findings"][0]["from"], 30000);
  EXPECT_EQ(report["findings"][0]["to"], 51000);
  EXPECT_EQ(report["findings"][1]["from"], 65000);
  EXPECT_EQ(report["findings"][1]["to"], 71000);
}

TEST_F(Doctor, OfManyFindingsOfAKindTellsAHundredAndTheSum) {
  std::vector<std::uint32_t> times;
  for (std::uint32_t i = 0; i < 4 * 127; ++i) times.push_back(10 + i % 4);
  const nlohmann::json report = Examine(Write("a.zel3", times));
  ASSERT_EQ(report["findings"].size(), 101U);
  EXPECT_EQ(report["findings"][100]["text"], "26 more of this kind");
  EXPECT_EQ(LinesOf(Run({"doctor", *this / "a.zel3"}).out).back(),
            "1 file: 0 errors, 126 warnings, 0 notes");
}

TEST_F(Doctor, TheWorstFindingDecidesHowItEnds) {
  const std::string gap = Write("gap.zel3", {10, 20, 61});
  const std::string backwards = Write("backwards.zel3", {10, 20, 30, 15, 25});
  const std::string damaged = Write("damaged.zel3", {10, 20, 30});
  Overwrite(damaged, mPositions[1], Bytes(13, 0xEE));
  const std::string good = Write("good.zel3", {10, 20, 30});
  const struct {
    const std::string path;
    int byDefault;
    int onNotes;
    int onWarnings;
    int onErrors;
  } cases[] = {
      {good, 0, 0, 0, 0},
      {gap, 0, 3, 0, 0},
      {backwards, 3, 3, 3, 0},
      {damaged, 3, 3, 3, 3},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.path);
    for (const Arguments& verb :
         {Arguments{"doctor", row.path}, Arguments{"report", row.path, "-o", *this / "page"}}) {
      const auto exitCode = [this, &verb](const Arguments& options) {
        Arguments arguments = verb;
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Run(arguments).exitCode;
      };
      EXPECT_EQ(exitCode({}), row.byDefault);
      EXPECT_EQ(exitCode({"--fail-on", "note"}), row.onNotes);
      EXPECT_EQ(exitCode({"--fail-on", "warning"}), row.onWarnings);
      EXPECT_EQ(exitCode({"--fail-on", "error"}), row.onErrors);
    }
  }
  EXPECT_EQ(Run({"doctor", good, "--fail-on", "anything"}).exitCode, 2);
}

TEST_F(Doctor, AnArchiveThatNoParserKnowsIsAnError) {
  fs::rename(Write("a.zel3", {10, 20}), *this / "a.ZEL3");
  EXPECT_THAT(FindingsIn(Folder()), IsEmpty());
  fs::rename(*this / "a.ZEL3", *this / "a.zel");
  const nlohmann::json report = Examine(Folder());
  EXPECT_EQ(mResult.exitCode, 3);
  EXPECT_THAT(Findings(report), ElementsAre("error no-parser a.zel"));
  EXPECT_EQ(report["findings"][0]["remedy"], "rename it to end in .zel3, if it is a ZEL3 file");
  const ProgramResult rebuilt = Run({"doctor", Folder(), "--rebuild", "--fail-on", "error"});
  EXPECT_EQ(rebuilt.exitCode, 3);
  EXPECT_THAT(rebuilt.err, HasSubstr("0 caches built, 0 kept, 1 file cannot be indexed"));
  EXPECT_EQ(Run({"report", Folder(), "-o", *this / "page", "--fail-on", "error"}).exitCode, 3);
}

TEST_F(Doctor, TheSampleIsSoundWithAndWithoutCaches) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string gap =
      "note gap " + fs::path(SampleFile(Folder(), truth, 1)).filename().string();
  EXPECT_THAT(FindingsIn(Folder()), ElementsAre(gap));
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  const nlohmann::json report = Examine(Folder());
  EXPECT_THAT(Findings(report), ElementsAre(gap));
  for (const nlohmann::json& file : report["files"]) EXPECT_EQ(file["cache"], "sound");
}

TEST_F(Doctor, ComparesACacheWithItsArchive) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  const Bytes id3 = ReadFile(*this / "a.id3");
  const Bytes hdr = ReadFile(*this / "a.hdr");
  ASSERT_EQ(id3.size(), 4 * 24U);
  Bytes otherTime = id3;
  otherTime[24 + 4] ^= 1;
  Bytes otherPlace = id3;
  otherPlace[2 * 24 + 8] ^= 1;
  const struct {
    const char* what;
    const char* name;
    Bytes bytes;
    std::vector<std::string> findings;
    const char* text;
  } cases[] = {
      {"as it was", "a.id3", id3, {}, ""},
      {"another time",
       "a.id3",
       otherTime,
       {"warning cache-mismatch a.id3"},
       "entry 1 differs from"},
      {"another place",
       "a.id3",
       otherPlace,
       {"warning cache-mismatch a.id3"},
       "entry 2 differs from"},
      {"an entry less",
       "a.id3",
       Between(id3, 0, 72),
       {"warning cache-mismatch a.id3"},
       "holds 3 entries, the archive 4"},
      {"an entry more",
       "a.id3",
       id3 + Between(id3, 0, 24),
       {"warning cache-mismatch a.id3"},
       "holds 5 entries, the archive 4"},
      {"no header",
       "a.hdr",
       {},
       {"warning cache-mismatch a.hdr"},
       "holds 0 headers, the archive 1"},
      {"an event of nowhere",
       "a.evt",
       Bytes{1, 0, 0, 0, 2, 0, 0, 0, 1, 0x80, 'x', 0},
       {"warning cache-mismatch a.evt"},
       "holds 1 events, the archive 0"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    WriteFile(*this / "a.id3", id3);
    WriteFile(*this / "a.hdr", hdr);
    WriteFile(*this / "a.evt", Bytes());
    WriteFile(*this / row.name, row.bytes);
    const nlohmann::json report = Examine(path);
    EXPECT_EQ(Findings(report), row.findings);
    EXPECT_EQ(report["files"][0]["cache"], row.findings.empty() ? "sound" : "unsound");
    if (!row.findings.empty()) {
      EXPECT_THAT(report["findings"][0]["text"].get<std::string>(), HasSubstr(row.text));
    }
    EXPECT_EQ(mResult.exitCode, row.findings.empty() ? 0 : 3);
  }
}

// Beside an archive such a file is somebody else's; in a cache folder it is the program's own.
TEST_F(Doctor, TellsWhichCacheEndsWithinARecord) {
  const std::string path = Write("a.zel3", {10, 20, 30, 40});
  SetModificationTime(path, 1367935389);
  const std::string cache = *this / "cache";
  const Arguments options{"--cache-folder", cache};
  ASSERT_EQ(Run({"index", path, "--cache-folder", cache}).exitCode, 0);
  const std::string stem = "13.05.07 14-03-09 a";
  const Bytes id3 = ReadFile(cache + "/" + stem + ".id3");
  const Bytes hdr = ReadFile(cache + "/" + stem + ".hdr");
  const struct {
    const char* what;
    const char* suffix;
    Bytes bytes;
    std::vector<std::string> kinds;
    const char* text;
  } cases[] = {
      {"half an entry more",
       ".id3",
       id3 + Between(id3, 0, 12),
       {"damaged"},
       "ends within a record"},
      {"half a header",
       ".hdr",
       Between(hdr, 0, 4),
       {"damaged", "mismatch"},
       "ends within a record"},
      {"events cut off",
       ".evt",
       Bytes{1, 0, 0, 0, 2, 0, 0, 0, 1, 0x80, 'x'},
       {"damaged"},
       "is cut off, or holds something that is not an event"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    WriteFile(cache + "/" + stem + ".id3", id3);
    WriteFile(cache + "/" + stem + ".hdr", hdr);
    WriteFile(cache + "/" + stem + ".evt", Bytes());
    WriteFile(cache + "/" + stem + row.suffix, row.bytes);
    const nlohmann::json report = Examine(path, options);
    std::vector<std::string> findings;
    for (const std::string& kind : row.kinds)
      findings.push_back("warning cache-" + kind + " " + stem + row.suffix);
    EXPECT_EQ(Findings(report), findings);
    EXPECT_EQ(report["files"][0]["cache"], "unsound");
    EXPECT_THAT(report["findings"][0]["text"].get<std::string>(), HasSubstr(row.text));
  }
}

TEST_F(Doctor, TellsACacheThatIsNotWhole) {
  const std::string path = Write("a.zel3", {10, 20});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  for (const char* unfinished :
       {"a.evt.unfinished.evt", "a.hdr.unfinished.hdr", "a.id3.unfinished.id3"}) {
    WriteFile(*this / unfinished, "half");
    EXPECT_THAT(FindingsIn(path), ElementsAre(std::string("warning cache-leftover ") + unfinished));
    fs::remove(*this / unfinished);
  }
  fs::remove(*this / "a.evt");
  EXPECT_THAT(FindingsIn(path), ElementsAre("warning cache-incomplete a.id3"));
}

TEST_F(Doctor, TellsWhatProcessesWithTheirOwnNamesHaveLeftBehind) {
  const std::string path = Write("a.zel3", {10, 20});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  const std::string unfinished = "a.id3.unfinished-4711.id3";
  WriteFile(*this / unfinished, "half");
  EXPECT_THAT(FindingsIn(path), IsEmpty()) << "it is new";
  SetModificationTime(*this / unfinished, 1367935389);
  WriteFile(*this / "b.id3.unfinished-4711.id3", "of another archive");
  SetModificationTime(*this / "b.id3.unfinished-4711.id3", 1367935389);
  EXPECT_THAT(FindingsIn(path), ElementsAre("warning cache-leftover " + unfinished));
}

TEST_F(Doctor, NotesWhatVerbsHaveBegunToWrite) {
  const std::string path = Write("a.zel3", {10, 20});
  const std::vector<std::string> names{".zel3-aB3xYz", ".zel3-unfinished-aB3xYz",
                                       ".zel3-unfinished-aB3xYz.zel3"};
  for (const std::string& name : names) WriteFile(*this / name, "half");
  EXPECT_THAT(FindingsIn(Folder()), IsEmpty()) << "they are new";
  for (const std::string& name : names) SetModificationTime(*this / name, 1367935389);
  EXPECT_THAT(FindingsIn(Folder()),
              ElementsAre("note output-leftover " + names[0], "note output-leftover " + names[1],
                          "note output-leftover " + names[2]));
  EXPECT_THAT(FindingsIn(path), IsEmpty()) << "they are not of one archive";
}

TEST_F(Doctor, TellsEachStrangerThatHasTheNameOfACache) {
  const std::string path = Write("a.zel3", {10, 20});
  for (const char* const name : {"a.id3", "a.hdr"})
    ASSERT_EQ(mkfifo((*this / name).c_str(), 0600), 0);
  fs::create_directory(*this / "a.evt");
  const nlohmann::json report = Examine(path, {"--rebuild"});
  EXPECT_THAT(Findings(report),
              ElementsAre("note stranger a.id3", "note stranger a.hdr", "note stranger a.evt"));
  EXPECT_EQ(report["files"][0]["cache"], "none");
  EXPECT_THAT(mResult.err, testing::MatchesRegex(
                               "zel3: indexes cannot be kept beside the archives \\(a.id3 is not a "
                               "cache file\\) and are kept in " +
                               CacheHome() + "/zel3/[0-9a-f]{32}\n1 cache built, .*\n"));
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("a.evt", "a.hdr", "a.id3", "a.zel3"));
  EXPECT_EQ(Examine(path)["files"][0]["cache"], "sound") << "where the index is kept";
}

TEST_F(Doctor, TakesNoTimeForAGiantStranger) {
  const std::string path = Write("a.zel3", {10, 20});
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  fs::resize_file(*this / "a.evt", 100'000'000'000);
  EXPECT_THAT(FindingsIn(path), ElementsAre("note stranger a.evt"));
}

TEST_F(Doctor, LooksIntoTheCacheFolder) {
  const std::string path = Write("a.zel3", {10, 20});
  SetModificationTime(path, 1367935389);
  const std::string cache = *this / "cache";
  fs::create_directory(cache);
  const Arguments options{"--cache-folder", cache};
  ASSERT_EQ(Run({"index", path, "--cache-folder", cache}).exitCode, 0);
  EXPECT_EQ(Examine(path, options)["files"][0]["cache"], "sound");
  EXPECT_EQ(Examine(path)["files"][0]["cache"], "none");
  fs::remove(cache + "/13.05.07 14-03-09 a.hdr");
  EXPECT_THAT(FindingsIn(path, options),
              ElementsAre("warning cache-incomplete 13.05.07 14-03-09 a.id3"));
}

TEST_F(Doctor, MakesUnsoundAndMissingCachesAnew) {
  for (const char* const name : {"a.zel3", "b.zel3", "c.zel3"}) {
    const std::uint32_t start = 100U * static_cast<unsigned char>(name[0]);
    ASSERT_EQ(Run({"index", Write(name, {start, start + 10, start + 20})}).exitCode, 0);
  }
  fs::remove(*this / "b.id3");
  Bytes wrong = ReadFile(*this / "c.id3");
  wrong[8] ^= 1;
  WriteFile(*this / "c.id3", wrong);
  const Bytes archive = ReadFile(*this / "c.zel3");
  const fs::file_time_type kept = fs::last_write_time(*this / "a.id3");

  EXPECT_THAT(FindingsIn(Folder(), {"--rebuild"}),
              UnorderedElementsAre("warning cache-incomplete b.id3", "warning cache-mismatch c.id3",
                                   "note gap b.zel3", "note gap c.zel3"));
  EXPECT_EQ(mResult.exitCode, 3) << "something was found";
  EXPECT_THAT(mResult.err, HasSubstr("2 caches built, 1 kept, 0 files cannot be indexed"));
  const nlohmann::json rebuilt = Examine(Folder());
  for (const nlohmann::json& file : rebuilt["files"]) EXPECT_EQ(file["cache"], "sound");
  EXPECT_EQ(fs::last_write_time(*this / "a.id3"), kept);
  EXPECT_EQ(ReadFile(*this / "c.zel3"), archive);
}

// The archive has the very name of its cache file.
TEST_F(Doctor, NeverRemovesAnArchive) {
  const std::string path = *this / "cam.evt";
  fs::rename(Write("a.zel3", {10, 20}), path);
  const Bytes archive = ReadFile(path);
  WriteFile(*this / "cam.id3", "no records");
  FindingsIn(path, {"--rebuild"});
  EXPECT_EQ(ReadFile(path), archive);
}

TEST_F(Doctor, TextIsATableAndASum) {
  Write("a.zel3", {10, 20, 30});
  Write("b\x1b.zel3", {51, 61, 71});
  const ProgramResult result = Run({"doctor", Folder()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre(
          "severity  kind  file          position  bytes  text",
          "note      gap   b\\u001b.zel3  -         -      nothing is recorded since a.zel3 "
          "(1970-01-01T00:00:30.000Z to 1970-01-01T00:00:51.000Z)",
          "", "kind  what to do", "gap   nothing, if no recording was expected then", "",
          "2 files: 0 errors, 0 warnings, 1 note"));
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(LinesOf(Run({"doctor", *this / "a.zel3"}).out),
              ElementsAre("1 file: 0 errors, 0 warnings, 0 notes"));
}

TEST_F(Doctor, ATerminalShowsColoursUnlessTheUserWantsNone) {
  WriteFile(*this / "a.zel3", "too short");
  struct Case {
    const char* noColour;
    const char* terminal;
    const char* heading;
    const char* severity;
  };
  const Case cases[] = {
      {"", "xterm", "\x1b[1mseverity\x1b[0m  \x1b[1mkind", "\x1b[31merror\x1b[0m     too-small"},
      {"1", "xterm", "severity  kind", "error     too-small"},
      {"", "dumb", "severity  kind", "error     too-small"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.terminal + std::string(one.noColour));
    const Terminal terminal;
    Start({"doctor", Folder()}, [&terminal, &one] {
      setenv("NO_COLOR", one.noColour, 1);
      setenv("TERM", one.terminal, 1);
      terminal.TakeThePlaceOf(STDOUT_FILENO);
    });
    Finish();
    EXPECT_THAT(terminal.Written(), AllOf(HasSubstr(one.heading), HasSubstr(one.severity)));
  }
}

TEST_F(Doctor, ATerminalShowsHowFarItIs) {
  Write("a.zel3", {10, 20, 30});
  const Terminal terminal;
  Start({"doctor", Folder()}, [&terminal] {
    setenv("ZEL3_PROGRESS_DELAY", "0", 1);
    terminal.TakeThePlaceOf(STDERR_FILENO);
  });
  EXPECT_EQ(Finish().exitCode, 0);
  EXPECT_THAT(terminal.Written(), AllOf(HasSubstr("examining a.zel3 [####"), EndsWith("\r\x1b[K")));
}

TEST_F(Doctor, WithoutAnArchiveFails) {
  EXPECT_EQ(Run({"doctor", Folder()}).exitCode, 1);
  EXPECT_EQ(Run({"doctor", *this / "missing"}).exitCode, 1);
}

TEST_F(Doctor, ExaminesFilesWithNamesOfAnyBytesAndOfAnyLength) {
  const std::string good = Write("good.zel3", {10, 20, 30});
  const std::string names[] = {"\xff.zel3", std::string(250, 'x') + ".ZEL3"};
  for (const std::string& name : names) {
    fs::copy_file(good, *this / name);
    const nlohmann::json alone = Examine(*this / name);
    EXPECT_EQ(mResult.exitCode, 0);
    EXPECT_EQ(alone["files"][0]["entries"], 3);
    EXPECT_EQ(alone["files"][0]["cache"], "none");
    EXPECT_THAT(alone["findings"], IsEmpty());
  }
  fs::resize_file(*this / names[0], mSize - 1);
  const nlohmann::json all = Examine(Folder());
  EXPECT_EQ(all["files"].size(), 3U);
  EXPECT_THAT(Findings(all), testing::Contains(HasSubstr("cut-off \xef\xbf\xbd.zel3")));
  EXPECT_THAT(Run({"doctor", Folder()}).out, HasSubstr("cut-off  \xef\xbf\xbd.zel3"));
}
