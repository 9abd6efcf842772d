#include "sources/check_memory.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "support/environment_value.h"
#include "support/temp_folder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kNow = 1'700'000'000 * kSecond;

FileIdentity IdentityNumber(std::uint64_t number) {
  return {number * 1000, number, 0x80000001, kNow - 90 * kSecond, kNow - 60 * kSecond};
}

ArchiveIdentity SomeIdentity() {
  return {IdentityNumber(1), IdentityNumber(2), IdentityNumber(3), FileIdentity(), kNow};
}

CheckedFacts SomeFacts() {
  return {1000, 3'000, ~ArchiveTime{0}, 1'000, 7};
}

bool AreEqual(const CheckedFacts& one, const CheckedFacts& other) {
  return one.entryCount == other.entryCount && one.start == other.start && one.end == other.end &&
         one.step == other.step && one.misplaced == other.misplaced;
}

class CheckMemoryOfFolder : public testing::Test {
 protected:
  CheckMemoryOfFolder() { fs::create_directory(mArchives); }

  void Remember(const std::string& name, const CheckedFacts& facts = SomeFacts()) {
    CheckMemory(mArchives).Remember(name, SomeIdentity(), facts);
  }

  bool Knows(const std::string& name, const ArchiveIdentity& identity = SomeIdentity()) {
    return CheckMemory(mArchives).Find(name, identity).has_value();
  }

  // The one file of the memory.
  std::string File() { return mChecked + "/" + EntryNames(mChecked).at(0); }

  const TempFolder mFolder;
  const std::string mArchives = mFolder / "archives";
  const std::string mHome = mFolder / "cache";
  const std::string mChecked = mHome + "/zel3/checked";
  const EnvironmentValue mCacheHome{"XDG_CACHE_HOME", mHome.c_str()};
};

}  // namespace

TEST_F(CheckMemoryOfFolder, RemembersFactsUnderNamesOfAnyBytes) {
  const std::string names[] = {"cam.zel3", "two words %20.zel3", "line\nbreak\t\x7f.zel3",
                               "\xff\xfe\x01.zel3", "-"};
  CheckedFacts facts = SomeFacts();
  for (const std::string& name : names) {
    ++facts.entryCount;
    Remember(name, facts);
  }
  const CheckMemory memory(mArchives);
  facts = SomeFacts();
  for (const std::string& name : names) {
    ++facts.entryCount;
    const auto found = memory.Find(name, SomeIdentity());
    ASSERT_TRUE(found) << name;
    EXPECT_TRUE(AreEqual(*found, facts)) << name;
  }
  EXPECT_FALSE(memory.Find("other.zel3", SomeIdentity()));
}

TEST_F(CheckMemoryOfFolder, FindsAtOnceWhatItHasNotSavedYet) {
  CheckMemory memory(mArchives);
  memory.Remember("cam.zel3", SomeIdentity(), SomeFacts());
  EXPECT_TRUE(memory.Find("cam.zel3", SomeIdentity()));
  EXPECT_FALSE(FileExists(mHome));
}

TEST_F(CheckMemoryOfFolder, KeepsOtherFoldersApart) {
  Remember("cam.zel3");
  EXPECT_FALSE(CheckMemory(mFolder / "others").Find("cam.zel3", SomeIdentity()));
}

TEST_F(CheckMemoryOfFolder, ForgetsAnArchiveAtEachChangeOfAFile) {
  Remember("cam.zel3");
  ASSERT_TRUE(Knows("cam.zel3"));
  FileIdentity ArchiveIdentity::*const files[] = {
      &ArchiveIdentity::archive, &ArchiveIdentity::entries, &ArchiveIdentity::headers,
      &ArchiveIdentity::events};
  for (const auto file : files) {
    const auto changed = [file](auto field) {
      ArchiveIdentity identity = SomeIdentity();
      ++(identity.*file.*field);
      return identity;
    };
    EXPECT_FALSE(Knows("cam.zel3", changed(&FileIdentity::size)));
    EXPECT_FALSE(Knows("cam.zel3", changed(&FileIdentity::inode)));
    EXPECT_FALSE(Knows("cam.zel3", changed(&FileIdentity::device)));
    EXPECT_FALSE(Knows("cam.zel3", changed(&FileIdentity::modified)));
    EXPECT_FALSE(Knows("cam.zel3", changed(&FileIdentity::changed)));
  }
}

TEST_F(CheckMemoryOfFolder, RemembersNothingOfFilesThatJustChanged) {
  for (const auto field : {&FileIdentity::modified, &FileIdentity::changed}) {
    for (const std::int64_t age : {-kSecond, std::int64_t{0}, 2 * kSecond - 1}) {
      ArchiveIdentity identity = SomeIdentity();
      identity.entries.*field = kNow - age;
      CheckMemory memory(mArchives);
      memory.Remember("cam.zel3", identity, SomeFacts());
      EXPECT_FALSE(memory.Find("cam.zel3", identity));
    }
  }
  EXPECT_FALSE(FileExists(mHome));
  ArchiveIdentity identity = SomeIdentity();
  identity.entries.modified = identity.entries.changed = kNow - 2 * kSecond;
  CheckMemory memory(mArchives);
  memory.Remember("cam.zel3", identity, SomeFacts());
  EXPECT_TRUE(memory.Find("cam.zel3", identity));
}

TEST_F(CheckMemoryOfFolder, RemembersNothingOfAnArchiveThatIsNotThere) {
  ArchiveIdentity identity = SomeIdentity();
  identity.archive = FileIdentity();
  CheckMemory(mArchives).Remember("cam.zel3", identity, SomeFacts());
  EXPECT_FALSE(FileExists(mHome));
}

TEST_F(CheckMemoryOfFolder, IsOfItsOwnerOnly) {
  Remember("cam.zel3");
  EXPECT_EQ(fs::status(mChecked).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(File()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(EntryNames(mChecked).size(), 1U) << "nothing unfinished is left";
}

TEST_F(CheckMemoryOfFolder, MergesWhatTwoProcessesFindOut) {
  {
    CheckMemory one(mArchives);
    CheckMemory other(mArchives);
    one.Remember("1.zel3", SomeIdentity(), SomeFacts());
    other.Remember("2.zel3", SomeIdentity(), SomeFacts());
  }
  EXPECT_TRUE(Knows("1.zel3"));
  EXPECT_TRUE(Knows("2.zel3"));
}

TEST_F(CheckMemoryOfFolder, IsWholeWhateverManyProcessesDo) {
  constexpr int kProcesses = 4;
  constexpr int kSaves = 100;
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() != 0) continue;
    CheckMemory memory(mArchives);
    for (int i = 0; i < kSaves; ++i) {
      memory.Remember(std::to_string(process) + ".zel3", SomeIdentity(), SomeFacts());
      memory.Save();
    }
    _exit(0);
  }
  for (int process = 0; process < kProcesses; ++process) {
    int status = -1;
    ASSERT_GT(wait(&status), 0);
    EXPECT_EQ(status, 0);
  }
  const Bytes bytes = ReadFile(File());
  const auto kept = CheckedFromText({bytes.begin(), bytes.end()});
  ASSERT_TRUE(kept);
  EXPECT_THAT(kept->byName, testing::Not(IsEmpty()));
  for (const auto& [name, archive] : kept->byName) {
    EXPECT_TRUE(archive.identity == SomeIdentity()) << name;
    EXPECT_TRUE(AreEqual(archive.facts, SomeFacts())) << name;
  }
}

TEST_F(CheckMemoryOfFolder, DropsArchivesThatAreGoneWhenTheyHaveDoubled) {
  const auto rememberMany = [this](int from, int to) {
    CheckMemory memory(mArchives);
    for (int i = from; i < to; ++i) memory.Remember(std::to_string(i), SomeIdentity(), SomeFacts());
  };
  for (int i = 0; i < 100; ++i) WriteFile(mArchives + "/" + std::to_string(i), "");
  rememberMany(0, 150);
  EXPECT_TRUE(Knows("99"));
  EXPECT_FALSE(Knows("100"));
  fs::remove(mArchives + "/0");
  rememberMany(150, 249);
  EXPECT_TRUE(Knows("0"));
  rememberMany(249, 250);
  EXPECT_FALSE(Knows("0"));
  EXPECT_FALSE(Knows("249"));
  EXPECT_TRUE(Knows("1"));
}

TEST_F(CheckMemoryOfFolder, TakesNothingFromADamagedFile) {
  Remember("cam.zel3");
  const Bytes bytes = ReadFile(File());
  const std::string good(bytes.begin(), bytes.end());
  const std::string line = good.substr(good.find('\n') + 1);
  const auto with = [&good](const std::string& from, const std::string& to) {
    std::string text = good;
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
  };
  const std::string texts[] = {
      "",
      "\n",
      std::string(4096, '\0'),
      good + line,
      good + "\n",
      good + "x",
      good.substr(0, good.size() - 1),
      with("checked 1", "checked 2"),
      with("checked 1 ", "checked 1"),
      with("cam", ""),
      with("cam.zel3", ""),
      with("cam", "c\xff"),
      with("cam", "c%2"),
      with("cam", "c%zz"),
      with(" 1000 7\n", " 1000\n"),
      with(" 1000 7\n", " 1000 7 1\n"),
      with(" 1000 7\n", " 1000 7 \n"),
      with(" 1000 7\n", " 1000 -7\n"),
      with(" 1000 7\n", " -1000 7\n"),
      with(" 1000 7\n", " 0x9 7\n"),
      with(" 1000 7\n", " 99999999999999999999999 7\n"),
      with(" - ", "  "),
      with(" - ", " + "),
  };
  for (const std::string& text : texts) {
    WriteFile(File(), text);
    EXPECT_FALSE(Knows("cam.zel3")) << text;
  }
  for (std::size_t size = 0; size < good.size(); ++size) {
    WriteFile(File(), good.substr(0, size));
    EXPECT_FALSE(Knows("cam.zel3")) << size;
  }
  WriteFile(File(), good);
  EXPECT_TRUE(Knows("cam.zel3"));
  WriteFile(File(), "nonsense");
  Remember("new.zel3");
  EXPECT_TRUE(Knows("new.zel3"));
}

TEST_F(CheckMemoryOfFolder, ReadsNoHugeFile) {
  Remember("cam.zel3");
  fs::resize_file(File(), std::uintmax_t{1} << 40);
  EXPECT_FALSE(Knows("cam.zel3"));
}

TEST_F(CheckMemoryOfFolder, NeedsACacheHome) {
  const EnvironmentValue noCacheHome("XDG_CACHE_HOME", nullptr);
  const EnvironmentValue noHome("HOME", nullptr);
  Remember("cam.zel3");
  EXPECT_FALSE(Knows("cam.zel3"));
}

TEST_F(CheckMemoryOfFolder, DoesNotUseAFolderThatOthersMayWrite) {
  for (const std::string& folder : {mHome + "/zel3", mChecked}) {
    Remember("cam.zel3");
    ASSERT_EQ(chmod(folder.c_str(), 0770), 0);
    EXPECT_FALSE(Knows("cam.zel3"));
    Remember("new.zel3");
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    EXPECT_TRUE(Knows("cam.zel3"));
    EXPECT_FALSE(Knows("new.zel3"));
  }
}

TEST_F(CheckMemoryOfFolder, DoesNotFollowLinks) {
  for (const std::string& folder : {mHome + "/zel3", mChecked}) {
    Remember("cam.zel3");
    fs::rename(folder, mFolder / "elsewhere");
    fs::create_directory_symlink(mFolder / "elsewhere", folder);
    EXPECT_FALSE(Knows("cam.zel3"));
    Remember("new.zel3");
    fs::remove(folder);
    fs::rename(mFolder / "elsewhere", folder);
    EXPECT_TRUE(Knows("cam.zel3"));
    EXPECT_FALSE(Knows("new.zel3"));
  }
  const std::string file = File();
  fs::rename(file, mFolder / "elsewhere");
  fs::create_symlink(mFolder / "elsewhere", file);
  EXPECT_FALSE(Knows("cam.zel3"));
}

TEST_F(CheckMemoryOfFolder, DoesNotUseAFileThatOthersMayWrite) {
  Remember("cam.zel3");
  ASSERT_EQ(chmod(File().c_str(), 0620), 0);
  EXPECT_FALSE(Knows("cam.zel3"));
}

TEST_F(CheckMemoryOfFolder, LoadsTenThousandArchivesAtOnce) {
  {
    CheckMemory memory(mArchives);
    for (int i = 0; i < 10'000; ++i) {
      const std::string name = "cam01_2024-05-01_" + std::to_string(i);
      WriteFile(mArchives + "/" + name, "");
      memory.Remember(name, SomeIdentity(), SomeFacts());
    }
  }
  const auto begin = std::chrono::steady_clock::now();
  const bool known = Knows("cam01_2024-05-01_9999");
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_TRUE(known);
  RecordProperty("milliseconds", static_cast<int>(took / std::chrono::milliseconds(1)));
  EXPECT_LT(took, std::chrono::seconds(1)) << "far more than needed, for machines under load";
}

TEST_F(CheckMemoryOfFolder, LooksAtAnArchiveAndItsIndex) {
  const std::string archive = mArchives + "/cam.zel3";
  WriteFile(archive, "12345");
  WriteFile(mArchives + "/cam.id3", "123");
  WriteFile(mArchives + "/cam.evt", "");
  const ArchiveIdentity first = LookAtArchive(archive, "");
  EXPECT_EQ(first.archive.size, 5U);
  EXPECT_EQ(first.entries.size, 3U);
  EXPECT_TRUE(first.headers == FileIdentity());
  EXPECT_FALSE(first.events == FileIdentity());
  EXPECT_TRUE(LookAtArchive(archive, "") == first);
  EXPECT_FALSE(ShowsChanges(first));
  ArchiveIdentity later = first;
  later.lookedAt += 3 * kSecond;
  EXPECT_TRUE(ShowsChanges(later));
  fs::remove(mArchives + "/cam.evt");
  EXPECT_FALSE(LookAtArchive(archive, "") == first);
}
