#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/unprivileged.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

// The size of an entry in an .id3 file, and where its parts are.
constexpr std::size_t kKeptEntrySize = 24;
constexpr std::size_t kKeptFlags = 0;
constexpr std::size_t kKeptPairs = 1;
constexpr std::size_t kKeptFirstLevel = 13;
// The parts of an .evt file whose first group has a text first.
constexpr std::size_t kKeptEventCount = 8;
constexpr std::size_t kKeptEventType = 9;
constexpr std::size_t kKeptEventText = 10;

constexpr std::uint64_t kHuge = std::uint64_t{64} << 30;

using Texts = std::vector<std::string>;

// What doctor says about indexes.
class DoctorOfIndexes : public ProgramTest {
 protected:
  // An archive with two streams and two entries: each entry has a block of each stream, and these
  // events.
  std::string WriteEvents(const std::vector<Texts>& entries) {
    ArchiveHeader header = OneStreamHeader();
    header.streams.push_back({2, 1, "sound", "Mast", "pcm"});
    ArchiveWriter writer(mArchive);
    writer.WriteHeader(header);
    mPositions.clear();
    std::uint32_t time = 10;
    for (const Texts& texts : entries) {
      mPositions.push_back(writer.Position());
      writer.WriteIndex({time, 0, 1});
      time += 10;
      const Bytes payload(50, 7);
      writer.WriteData(1, 3, payload.data(), payload.size());
      writer.WriteData(2, 5, payload.data(), payload.size());
      for (const std::string& text : texts)
        writer.WriteData(0x80, 0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
    writer.Close();
    SetModificationTime(mArchive, 1367935389);
    return mArchive;
  }

  nlohmann::json Doctor(const Arguments& options = {}) {
    Arguments arguments{"doctor", mArchive, "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mResult = Run(arguments);
    return nlohmann::json::parse(mResult.out);
  }
  // "severity kind file: text"
  Texts FindingsOf(const nlohmann::json& report) const {
    Texts lines;
    for (const nlohmann::json& finding : report["findings"]) {
      lines.push_back(
          finding["severity"].get<std::string>() + " " + finding["kind"].get<std::string>() + " " +
          finding["file"].get<std::string>() + ": " + finding["text"].get<std::string>());
    }
    return lines;
  }
  Texts Found(const Arguments& options = {}) { return FindingsOf(Doctor(options)); }

  void Index() { ASSERT_EQ(Run({"index", mArchive}).exitCode, 0); }
  // Leaves a copy of the index beside the archive in a folder, as a host does.
  void CopyIndexTo(const std::string& folder) const {
    fs::create_directories(folder);
    for (const char* const suffix : {".id3", ".hdr", ".evt"})
      fs::copy_file(*this / ("a" + std::string(suffix)), folder + "/" + kKeptStem + suffix);
  }

  std::string Byte(std::size_t entry) const { return std::to_string(mPositions[entry]); }
  // The folder in which hosts leave indexes, and the one for this user when that is taken.
  std::string Fallback() const { return Temporary() + "/Vorn auxillary files"; }
  std::string OwnFallback() const { return Fallback() + " " + std::to_string(geteuid()); }

  static constexpr char kKeptStem[] = "13.05.07 14-03-09 a";
  const std::string mArchive = *this / "a.zel3";
  std::vector<std::uint64_t> mPositions;  // of the entries
  ProgramResult mResult;
};

}  // namespace

TEST_F(DoctorOfIndexes, ComparesFlagsLevelsAndTextsWithTheArchive) {
  WriteEvents({{"one", "two"}, {}, {"three"}});
  Index();
  const Bytes entries = ReadFile(*this / "a.id3");
  const Bytes events = ReadFile(*this / "a.evt");
  ASSERT_EQ(entries.size(), 3 * kKeptEntrySize);
  const auto with = [](Bytes bytes, std::size_t place, unsigned char value) {
    bytes[place] = value;
    return bytes;
  };
  const std::size_t third = events.size() - 6;
  Bytes onePairLess = with(entries, kKeptEntrySize + kKeptPairs, 1);
  onePairLess[kKeptEntrySize + kKeptFirstLevel + 1] = 0;
  onePairLess[kKeptEntrySize + kKeptFirstLevel + 2] = 0;
  const std::string others = "the entry at byte " + Byte(0) + " has other events";
  const struct {
    const char* what;
    const char* name;
    Bytes bytes;
    std::string text;
  } cases[] = {
      {"as it was", "a.id3", entries, ""},
      {"flag", "a.id3", with(entries, kKeptFlags, 0),
       "entry 0 has a different flag from that at byte " + Byte(0)},
      {"level", "a.id3", with(entries, kKeptEntrySize + kKeptFirstLevel, 8),
       "entry 1 has different levels from that at byte " + Byte(1)},
      {"level of the last entry", "a.id3", with(entries, 2 * kKeptEntrySize + kKeptFirstLevel, 8),
       "entry 2 has different levels from that at byte " + Byte(2)},
      {"number of streams", "a.id3", onePairLess,
       "entry 1 has different levels from that at byte " + Byte(1)},
      {"type", "a.evt", with(events, kKeptEventType, 0x81), others},
      {"text", "a.evt", with(events, kKeptEventText, 'O'), others},
      {"longer text", "a.evt",
       Between(events, 0, kKeptEventText) + Bytes{'x'} +
           Between(events, kKeptEventText, events.size()),
       others},
      {"time of events", "a.evt", with(events, 0, 11), others},
      {"one of two events", "a.evt",
       with(Between(events, 0, kKeptEventType + 5) +
                Between(events, kKeptEventType + 10, events.size()),
            kKeptEventCount, 1),
       others},
      {"text of the last event", "a.evt", with(events, third, 'T'),
       "the entry at byte " + Byte(2) + " has other events"},
      {"no last event", "a.evt", Between(events, 0, third - 10), "holds 2 events, the archive 3"},
      {"more events", "a.evt", events + Between(events, third - 10, events.size()),
       "holds 4 events, the archive 3"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    WriteFile(*this / "a.id3", entries);
    WriteFile(*this / "a.evt", events);
    WriteFile(*this / row.name, row.bytes);
    const nlohmann::json report = Doctor();
    if (row.text.empty()) {
      EXPECT_THAT(report["findings"], IsEmpty());
      continue;
    }
    EXPECT_THAT(FindingsOf(report),
                ElementsAre(AllOf(StartsWith("warning cache-mismatch " + std::string(row.name)),
                                  HasSubstr(row.text))));
    EXPECT_EQ(report["files"][0]["cache"], "unsound");
    EXPECT_EQ(report["findings"][0]["remedy"], "zel3 doctor --rebuild rebuilds the index");
    EXPECT_EQ(mResult.exitCode, 3);
  }
  Run({"doctor", mArchive, "--rebuild"});
  EXPECT_EQ(ReadFile(*this / "a.evt"), events);
}

// Blocks after a damaged place in an entry may have had levels and events that only the index
// knows.
TEST_F(DoctorOfIndexes, WhatAnEntryHasLostIsNotAFaultOfItsIndex) {
  WriteEvents({{"one", "two", "three"}, {"four"}});
  Index();
  Bytes archive = ReadFile(mArchive);
  const std::size_t sound = mPositions[0] + 13 + 54;
  std::fill_n(archive.begin() + static_cast<std::ptrdiff_t>(sound), 4, 0xEE);
  WriteFile(mArchive, archive);
  EXPECT_THAT(Found(),
              ElementsAre(StartsWith("error damage"),
                          "warning cache-mismatch a.evt: holds more than the damaged archive: 3 "
                          "events"));
}

TEST_F(DoctorOfIndexes, TellsHowManyEventsNoIndexCanHold) {
  const auto many = [](std::size_t count) { return Texts(count, "x"); };
  const std::string nul("a\0b", 3);
  const struct {
    const char* what;
    std::vector<Texts> entries;
    std::string text;
    std::size_t entry;
  } cases[] = {
      {"255", {many(255), many(1)}, "", 0},
      // What follows a count of 0 is never read.
      {"256",
       {many(3), many(256), many(2)},
       "258 of the 261 events: an entry has more than 255",
       1},
      {"300", {many(300), many(2)}, "256 of the 302 events: an entry has more than 255", 0},
      {"a NUL", {{"x", nul, "x"}, {}, many(4)}, "6 of the 7 events: a text has a NUL", 0},
      {"no text", {{"x", ""}, {"", "x"}}, "", 0},
      {"no text at the end",
       {{"x"}, {"x", ""}, {}},
       "1 of the 3 events: the last one has no text",
       1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    WriteEvents(row.entries);
    for (const char* const state : {"none", "sound"}) {
      const nlohmann::json report = Doctor();
      EXPECT_EQ(report["files"][0]["cache"], state);
      if (row.text.empty()) {
        EXPECT_THAT(report["findings"], IsEmpty());
      } else {
        ASSERT_EQ(report["findings"].size(), 1U) << report;
        const nlohmann::json& finding = report["findings"][0];
        EXPECT_EQ(FindingsOf(report)[0],
                  "warning events-not-kept a.zel3: no index can hold " + row.text);
        EXPECT_EQ(finding["position"], mPositions[row.entry]);
        EXPECT_EQ(finding["remedy"], "zel3 events takes them from the archive");
        EXPECT_EQ(mResult.exitCode, 3);
      }
      // An index with a NUL in a text does not have the form of one.
      if (row.text.find("NUL") != std::string::npos) break;
      Index();
    }
    for (const char* const suffix : {".id3", ".hdr", ".evt"})
      fs::remove(*this / ("a" + std::string(suffix)));
  }
}

TEST_F(DoctorOfIndexes, TellsAnIndexThatIsTooLargeForItsArchive) {
  WriteEvents({{"one"}, {"two"}});
  Index();
  const std::string tooLarge = ": is larger than an index of this archive can be";
  const struct {
    const char* name;
    std::uint64_t size;
  } cases[] = {{"a.id3", 2'000'000'040}, {"a.hdr", 2'000'000'000}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const Bytes good = ReadFile(*this / row.name);
    fs::resize_file(*this / row.name, row.size);
    EXPECT_THAT(Found(), ElementsAre("warning cache-mismatch " + std::string(row.name) + tooLarge));
    // An archive that is a hole except for its start has no larger index.
    const Bytes archive = ReadFile(mArchive);
    fs::resize_file(mArchive, kHuge);
    EXPECT_THAT(Found(), ElementsAre(StartsWith("error damage"),
                                     "warning cache-mismatch " + std::string(row.name) + tooLarge));
    WriteFile(mArchive, archive);
    WriteFile(*this / row.name, good);
  }
  WriteFile(*this / "a.evt", ReadFile(*this / "a.evt") + Bytes{9, 0, 0, 0, 9, 0, 0, 0, 1, 0x80} +
                                 Bytes(1000, 'x') + Bytes{0});
  EXPECT_THAT(Found(), ElementsAre("warning cache-mismatch a.evt" + tooLarge));
}

TEST_F(DoctorOfIndexes, LooksIntoThePrivateFolder) {
  WriteEvents({{"one"}, {"two"}});
  // Something else has the name of an index, for a while.
  fs::create_directory(*this / "a.evt");
  Index();
  ASSERT_EQ(Doctor()["files"][0]["cache"], "sound");
  fs::remove(*this / "a.evt");
  EXPECT_EQ(Doctor()["files"][0]["cache"], "sound") << "it is still the one in use";
  EXPECT_THAT(Found(), IsEmpty());
  Index();
  EXPECT_FALSE(FileExists(*this / "a.id3")) << "and no other is needed";

  // Somebody leaves one beside the archive.
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(CacheHome())) {
    if (entry.path().stem() == kKeptStem)
      fs::copy_file(entry.path(), *this / ("a" + entry.path().extension().string()));
  }
  ASSERT_TRUE(FileExists(*this / "a.evt"));
  EXPECT_THAT(Found(), ElementsAre(AllOf(StartsWith("note other-index " + std::string(kKeptStem) +
                                                    ".id3: lies in " + CacheHome() + "/zel3/"),
                                         HasSubstr(" and is not used"))));
  EXPECT_EQ(mResult.exitCode, 0);

  // An archive of the same name and date has replaced the other.
  WriteEvents({{"ONE"}, {"two"}});
  ASSERT_EQ(Run({"doctor", mArchive, "--rebuild"}).exitCode, 3);
  const nlohmann::json report = Doctor();
  EXPECT_THAT(FindingsOf(report),
              ElementsAre(AllOf(HasSubstr("note other-index"),
                                HasSubstr(" and is not of this archive: the entry at byte"))));
  EXPECT_EQ(report["findings"][0]["remedy"], "remove it, unless a host uses it");
}

TEST_F(DoctorOfIndexes, LooksIntoTheFolderOfHosts) {
  WriteEvents({{"one"}, {"two"}});
  Index();
  const std::string name = std::string(kKeptStem) + ".id3";
  for (const std::string& folder : {Fallback(), OwnFallback()}) {
    CopyIndexTo(folder);
    EXPECT_THAT(Found(), ElementsAre("note other-index " + name + ": lies in " + folder +
                                     " and is not used"));
    EXPECT_EQ(mResult.exitCode, 0);
    Bytes wrong = ReadFile(folder + "/" + name);
    wrong[kKeptFlags] = 0;
    WriteFile(folder + "/" + name, wrong);
    EXPECT_THAT(Found(),
                ElementsAre("note other-index " + name + ": lies in " + folder +
                            " and is not of this archive: entry 0 has a different flag from "
                            "that at byte " +
                            Byte(0)));
    fs::remove_all(folder);
  }
}

TEST_F(DoctorOfIndexes, NeverFollowsLinksInTheFolderOfHosts) {
  WriteEvents({{"one"}, {"two"}});
  Index();
  const std::string name = std::string(kKeptStem) + ".id3";
  CopyIndexTo(Fallback());
  const std::string path = Fallback() + "/" + name;
  fs::rename(path, *this / "elsewhere");
  const auto notRead = [&](const std::string& why) {
    return ElementsAre("note other-index " + name + ": lies in " + Fallback() + ", " + why +
                       ", and is not read");
  };
  fs::create_symlink(*this / "elsewhere", path);
  EXPECT_THAT(Found(), notRead("is a link"));
  fs::remove(path);
  fs::create_hard_link(*this / "elsewhere", path);
  EXPECT_THAT(Found(), notRead("has another name, too"));
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_THAT(Found(), notRead("is not a file"));
  fs::remove(path);

  fs::rename(Fallback(), *this / "folder");
  fs::create_directory_symlink(*this / "folder", Fallback());
  EXPECT_THAT(Found(), ElementsAre("note other-index Vorn auxillary files: " + Fallback() +
                                   " is a link, and is not followed"));
  EXPECT_EQ(mResult.exitCode, 0);
}

TEST_F(DoctorOfIndexes, NeverReadsWhatOthersCanHaveWritten) {
  WriteEvents({{"one"}, {"two"}});
  Index();
  CopyIndexTo(Fallback());
  fs::permissions(Fallback(), fs::perms::all);
  const auto notRead = [this](const std::string& why) {
    const std::string rest = ": lies in " + Fallback() + ", " + why + ", and is not read";
    return ElementsAre("note other-index " + std::string(kKeptStem) + ".id3" + rest,
                       "note other-index " + std::string(kKeptStem) + ".hdr" + rest,
                       "note other-index " + std::string(kKeptStem) + ".evt" + rest);
  };
  EXPECT_THAT(Found(), notRead("where others can write"));
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  constexpr uid_t kAnother = 12345;
  ASSERT_EQ(chown(Fallback().c_str(), kAnother, kAnother), 0);
  EXPECT_THAT(Found(), notRead("a folder of another user"));
  ASSERT_EQ(chown(Fallback().c_str(), 0, 0), 0);
  fs::permissions(Fallback(), fs::perms::owner_all);
  for (const fs::directory_entry& entry : fs::directory_iterator(Fallback()))
    ASSERT_EQ(chown(entry.path().c_str(), kAnother, kAnother), 0);
  EXPECT_THAT(Found(), notRead("belongs to another user"));
}

// After five thousand findings, further ones are only summed up.
TEST_F(DoctorOfIndexes, ManyFindingsInManyFilesAreSummedUp) {
  const ArchiveHeader header = OneStreamHeader();
  for (int file = 0; file < 52; ++file) {
    ArchiveWriter writer(*this / ("a" + std::to_string(100 + file) + ".zel3"));
    writer.WriteHeader(header);
    for (std::uint32_t i = 0; i < 4 * 102; ++i)
      writer.WriteIndex({static_cast<std::uint32_t>(1000 * file) + 10 + i % 4, 0, 0});
    writer.Close();
  }
  const nlohmann::json report =
      nlohmann::json::parse(Run({"doctor", Folder(), "--format", "json"}).out);
  std::map<std::string, int> counts;
  for (const nlohmann::json& finding : report["findings"])
    if (finding["kind"] == "backwards") ++counts[finding["file"].get<std::string>()];
  EXPECT_EQ(counts["a100.zel3"], 101);
  EXPECT_EQ(counts["a149.zel3"], 101);
  EXPECT_EQ(counts["a150.zel3"], 2);
  EXPECT_THAT(LinesOf(Run({"doctor", Folder()}).out).back(), HasSubstr("5252 warnings"));
}
