#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

class Dump : public ProgramTest {
 protected:
  // The records of a file or folder, one JSON value each.
  std::vector<nlohmann::json> Records(const std::string& path, int exitCode = 0) {
    const ProgramResult result = Run({"dump", path, "--format", "jsonl"});
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    std::vector<nlohmann::json> records;
    for (const std::string& line : LinesOf(result.out))
      records.push_back(nlohmann::json::parse(line));
    return records;
  }

  static std::vector<std::uint64_t> Positions(const std::vector<nlohmann::json>& records,
                                              const char* kind) {
    std::vector<std::uint64_t> positions;
    for (const nlohmann::json& record : records) {
      if (record["kind"] == kind) positions.push_back(record["position"]);
    }
    return positions;
  }

  // A small archive: a header, an entry with a data block and an event, and an entry without data.
  std::string WriteSmall(const std::string& title = "Title", const std::string& text = "Hello") {
    ArchiveHeader header = OneStreamHeader();
    header.title = title;
    header.streams.push_back({2, 0, "sound", "Mast", "pcm"});
    ArchiveWriter writer(mSmall);
    writer.WriteHeader(header);
    mIndexPosition = writer.Position();
    writer.WriteIndex({7, 0, 1});
    writer.WriteData(1, 0xE0 | 12, reinterpret_cast<const unsigned char*>("abc"), 3);
    mEventPosition = writer.Position();
    writer.WriteData(0x82, 3, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    mLastPosition = writer.Position();
    writer.WriteIndex({8, 0, 0});
    writer.Close();
    return mSmall;
  }

  const std::string mSmall = *this / "small.zel3";
  std::uint64_t mIndexPosition = 0;
  std::uint64_t mEventPosition = 0;
  std::uint64_t mLastPosition = 0;
};

}  // namespace

TEST_F(Dump, FindsHeadersAndEntriesWhereTheyWereWritten) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  for (std::size_t i = 0; i < truth.files.size(); ++i) {
    SCOPED_TRACE(i);
    const std::vector<nlohmann::json> records = Records(SampleFile(Folder(), truth, i));
    EXPECT_EQ(Positions(records, "header"), truth.files[i].headerPositions);
    std::vector<std::uint64_t> entries;
    for (const GroundTruthEntry& entry : truth.files[i].entries) entries.push_back(entry.position);
    EXPECT_EQ(Positions(records, "index"), entries);
  }
  EXPECT_EQ(EntryNames(Folder()).size(), 3U) << "nothing has been indexed";
}

TEST_F(Dump, JsonTellsEverythingAboutARecord) {
  const std::vector<nlohmann::json> records = Records(WriteSmall());
  ASSERT_EQ(records.size(), 5U);
  EXPECT_EQ(records[0], nlohmann::json::parse(R"({"file":"small.zel3","position":0,"kind":"header",
      "time":null,"title":"Title","streams":[
        {"streamId":1,"active":true,"kind":"video","name":"Gate","format":"h264"},
        {"streamId":2,"active":false,"kind":"sound","name":"Mast","format":"pcm"}]})"));
  EXPECT_EQ(records[1]["time"], 7000);
  EXPECT_EQ(records[1]["flagged"], true);
  EXPECT_EQ(records[2]["streamKind"], "video");
  EXPECT_EQ(records[2]["streamId"], 1);
  EXPECT_EQ(records[2]["bytes"], 3);
  EXPECT_EQ(records[2]["level"], 12);
  EXPECT_EQ(records[3]["position"], mEventPosition);
  EXPECT_EQ(records[3]["kind"], "event");
  EXPECT_EQ(records[3]["time"], 7000);
  EXPECT_EQ(records[3]["type"], "door-open");
  EXPECT_EQ(records[3]["level"], 3);
  EXPECT_EQ(records[3]["text"], "Hello");
  EXPECT_EQ(records[4]["flagged"], false);
}

TEST_F(Dump, TextIsATable) {
  const ProgramResult result = Run({"dump", WriteSmall()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  const std::string time = "1970-01-01T00:00:07\\.000Z";
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre("small.zel3", MatchesRegex(" +position +kind +time +stream +bytes +level +text"),
                  MatchesRegex(
                      " +0 +header +- +- +- +-  Title: 1 video \"Gate\" h264, 2 sound \"Mast\" pcm "
                      "\\(inactive\\)"),
                  MatchesRegex(" +[0-9]+ +index +" + time + " +- +- +-  flagged"),
                  MatchesRegex(" +[0-9]+ +data video +" + time + " +1 +3 +12"),
                  MatchesRegex(" +[0-9]+ +event +" + time + " +- +5 +3  door-open: Hello"),
                  MatchesRegex(" +[0-9]+ +index +1970-01-01T00:00:08\\.000Z +- +- +-")));
}

TEST_F(Dump, AFolderIsDumpedFileByFile) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const ProgramResult result = Run({"dump", Folder()});
  EXPECT_EQ(result.exitCode, 0);
  for (const GroundTruthFile& file : truth.files) EXPECT_THAT(result.out, HasSubstr(file.name));
  EXPECT_EQ(Records(Folder()).back()["file"], truth.files.back().name);
}

TEST_F(Dump, DamageIsShownAndWhatFollowsIsFound) {
  const Bytes bytes = ReadFile(WriteSmall());
  const Bytes junk(50, 'x');
  WriteFile(mSmall, Between(bytes, 0, mEventPosition) + junk +
                        Between(bytes, mEventPosition, bytes.size()));
  const std::vector<nlohmann::json> records = Records(mSmall, 3);
  EXPECT_THAT(Positions(records, "damage"), ElementsAre(mEventPosition));
  EXPECT_EQ(records[3]["bytes"], junk.size() + mLastPosition - mEventPosition)
      << "up to the next marker";
  EXPECT_THAT(Positions(records, "index"),
              ElementsAre(mIndexPosition, mLastPosition + junk.size()));
  EXPECT_THAT(Run({"dump", mSmall}).out, HasSubstr("damage"));
}

TEST_F(Dump, ALastRecordThatIsCutOffIsDamage) {
  const Bytes bytes = ReadFile(WriteSmall());
  WriteFile(mSmall, Between(bytes, 0, bytes.size() - 5));
  const std::vector<nlohmann::json> records = Records(mSmall, 3);
  ASSERT_EQ(records.size(), 5U);
  EXPECT_EQ(records[4]["kind"], "cut-off");
  EXPECT_EQ(records[4]["position"], mLastPosition);
  EXPECT_EQ(records[4]["bytes"], 8);
}

TEST_F(Dump, AFileOfSomethingElseIsAllDamage) {
  WriteFile(mSmall, std::string(200000, 'x'));
  const std::vector<nlohmann::json> records = Records(mSmall, 3);
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0]["kind"], "damage");
  EXPECT_EQ(records[0]["position"], 0);
  EXPECT_EQ(records[0]["bytes"], 200000);
}

// A hole in a file is zeros; what they mean depends on whether stream 0 is active.
TEST_F(Dump, AHoleCostsNothingAndIsWhatZerosAre) {
  constexpr std::uint64_t kSize = std::uint64_t{64} << 30;
  const Bytes bytes = ReadFile(WriteSmall());
  std::filesystem::resize_file(mSmall, kSize);
  const std::vector<nlohmann::json> damaged = Records(mSmall, 3);
  ASSERT_EQ(damaged.size(), 6U);
  EXPECT_EQ(damaged[5]["kind"], "damage");
  EXPECT_EQ(damaged[5]["position"], bytes.size());
  EXPECT_EQ(damaged[5]["bytes"], kSize - bytes.size());

  ArchiveHeader header = OneStreamHeader();
  header.streams[0].id = 0;
  ArchiveWriter writer(mSmall);
  writer.WriteHeader(header);
  writer.WriteIndex({7, 0, 0});
  const std::uint64_t end = writer.Position();
  writer.Close();
  std::filesystem::resize_file(mSmall, end + (std::uint64_t{64} << 30));
  const std::vector<nlohmann::json> empty = Records(mSmall);
  ASSERT_EQ(empty.size(), 3U);
  EXPECT_EQ(empty[2]["position"], end);
  EXPECT_EQ(empty[2]["bytes"], 0);
  EXPECT_EQ(empty[2]["count"], std::uint64_t{16} << 30);
  EXPECT_THAT(LinesOf(Run({"dump", mSmall}).out).back(),
              testing::EndsWith("17179869184 such blocks"));
}

TEST_F(Dump, ZerosAreShownAlikeWhetherOrNotTheyAreAHole) {
  ArchiveHeader header = OneStreamHeader();
  header.streams[0].id = 0;
  ArchiveWriter writer(mSmall);
  writer.WriteHeader(header);
  writer.WriteIndex({7, 0, 0});
  writer.WriteData(0, 0, nullptr, 0);
  writer.WriteIndex({8, 0, 0});
  const std::uint64_t end = writer.Position();
  writer.Close();
  const Bytes bytes = ReadFile(mSmall);
  WriteFile(mSmall, bytes + Bytes(100000, 0) + bytes);
  const std::string whole = Run({"dump", mSmall, "--format", "jsonl"}).out;
  WriteFile(mSmall, bytes);
  std::filesystem::resize_file(mSmall, end + 100000);
  std::ofstream(mSmall, std::ios::app | std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(end));
  EXPECT_EQ(Run({"dump", mSmall, "--format", "jsonl"}).out, whole);
  EXPECT_EQ(LinesOf(whole).size(), 9U);
  EXPECT_THAT(LinesOf(whole)[2], testing::Not(HasSubstr("count")));
  EXPECT_THAT(LinesOf(whole)[4], HasSubstr(R"("count":25000)"));
}

TEST_F(Dump, AnEmptyFileHasNoRecords) {
  WriteFile(mSmall, "");
  EXPECT_TRUE(Records(mSmall).empty());
}

TEST_F(Dump, TextsFromArchivesCannotHarmATerminal) {
  const ProgramResult result = Run({"dump", WriteSmall("\x1b[2J", "a\nb\xff")});
  EXPECT_THAT(result.out, HasSubstr("\\u001b[2J: 1 video"));
  EXPECT_THAT(result.out, HasSubstr("door-open: a\\u000ab\xef\xbf\xbd"));
  EXPECT_EQ(LinesOf(result.out).size(), 7U);
  EXPECT_EQ(Records(mSmall).size(), 5U);
}

TEST_F(Dump, OnlyPlainFilesAreRead) {
  ASSERT_EQ(mkfifo((*this / "pipe.zel3").c_str(), 0600), 0);
  const std::string cases[] = {*this / "pipe.zel3", "/dev/zero", *this / "missing", Folder()};
  for (const std::string& path : cases) {
    SCOPED_TRACE(path);
    const ProgramResult result = Run({"dump", path});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, MatchesRegex("zel3: [^\n]+\n"));
  }
}

TEST_F(Dump, ADumpIntoTheFolderThatItReadsEnds) {
  WriteSmall();
  const std::string output = *this / "z.zel3";
  WriteFile(output, std::string(70000, 'x'));
  Start({"dump", Folder()},
        [&output] { dup2(open(output.c_str(), O_WRONLY | O_APPEND), STDOUT_FILENO); });
  EXPECT_EQ(Finish().exitCode, 3);
}

TEST_F(Dump, OtherFormatsAreUsageErrors) {
  EXPECT_EQ(Run({"dump", WriteSmall(), "--format", "csv"}).exitCode, 2);
  EXPECT_EQ(Run({"dump"}).exitCode, 2);
}

TEST_F(Dump, ReadsFilesWithNamesOfAnyBytesAndOfAnyLength) {
  WriteSmall();
  const std::string notText = *this / "\xff\x1b.zel3";
  const std::string tooLong = *this / (std::string(250, 'x') + ".zel3");
  for (const std::string& path : {notText, tooLong}) {
    std::filesystem::copy_file(mSmall, path);
    EXPECT_THAT(Records(path), SizeIs(5));
  }
  const ProgramResult result = Run({"dump", Folder()});
  EXPECT_EQ(result.exitCode, 0);
  std::vector<std::string> headings;
  for (const std::string& line : LinesOf(result.out)) {
    if (testing::Matches(testing::EndsWith(".zel3"))(line)) headings.push_back(line);
  }
  EXPECT_THAT(headings, ElementsAre("small.zel3", std::string(250, 'x') + ".zel3",
                                    "\xef\xbf\xbd\\u001b.zel3"));
}
