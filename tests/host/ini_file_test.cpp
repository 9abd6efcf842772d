#include "sdk/ini_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "host/host_settings.h"
#include "support/environment_value.h"
#include "support/temp_folder.h"

namespace {

class IniFile : public testing::Test {
 protected:
  std::string Text() const {
    const Bytes bytes = ReadFile(folder / "host");
    return std::string(bytes.begin(), bytes.end());
  }

  const TempFolder folder;
  const HostSettings settings{folder.Path(), ""};
  const SettingsInForce inForce{settings};
};

TEST_F(IniFile, AnswersWhatTheHostHasFixedWhateverTheFileHolds) {
  WriteFile(folder / "host", "size=5\nother=6\n");
  HostSettings fixed{folder.Path(), ""};
  fixed.fixedValues = {{"size", 7}, {"missing", 8}};
  const SettingsInForce inForceNow(fixed);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 7);
  EXPECT_EQ(file.GetInt("missing", 100), 8);
  EXPECT_EQ(file.GetInt("other", 100), 6);
  EXPECT_EQ(Text(), "size=5\nother=6\n") << "nothing is written for them";
}

struct Line {
  const char* text;
  int expected;  // under "size", where the default is 100
};

TEST_F(IniFile, ReadsWholeIntegersAndAnswersTheDefaultForAllElse) {
  const Line lines[] = {
      {"size=5", 5},
      {"size = 5 ", 5},
      {"\t size\t=\t5\t", 5},
      {"size=5\r", 5},
      {"size=+5", 5},
      {"size=-5", -5},
      {"size=0", 0},
      {"size=007", 7},
      {"size=2147483647", std::numeric_limits<int>::max()},
      {"size=-2147483648", std::numeric_limits<int>::min()},
      {"size=2147483648", 100},
      {"size=-2147483649", 100},
      {"size=99999999999999999999", 100},
      {"size=", 100},
      {"size=+", 100},
      {"size=-", 100},
      {"size=+-5", 100},
      {"size=--5", 100},
      {"size=- 5", 100},
      {"size=5 MB", 100},
      {"size=5.0", 100},
      {"size=0x10", 100},
      {"size=5=6", 100},
      {"size", 100},
      {"size 5", 100},
      {"Size=5", 100},
      {"#size=5", 100},
      {" # size=5", 100},
      {";size=5", 100},
      {"=5", 100},
      {"", 100},
  };
  for (const Line& line : lines) {
    for (const std::string end : {"", "\n"}) {
      WriteFile(folder / "host", "other=1\n" + std::string(line.text) + end);
      EXPECT_EQ(CIniFile("host").GetInt("size", 100), line.expected) << '"' << line.text << '"';
    }
  }
}

TEST_F(IniFile, TakesTheLastOfSeveralLinesOfAKey) {
  WriteFile(folder / "host", std::string("size=1\nsize=2\n"));
  EXPECT_EQ(CIniFile("host").GetInt("size", 100), 2);
}

TEST_F(IniFile, FindsKeysWithBlanksInside) {
  WriteFile(folder / "host", std::string("total size = 3\n"));
  EXPECT_EQ(CIniFile("host").GetInt("total size", 100), 3);
}

TEST_F(IniFile, HasNoKeysWhenItIsMissing) {
  EXPECT_EQ(CIniFile("host").GetInt("size", 100), 100);
  EXPECT_THAT(EntryNames(folder.Path()), testing::IsEmpty());
}

TEST_F(IniFile, StaysAsItIsUnlessDefaultsAreToBeWritten) {
  WriteFile(folder / "host", std::string("other=1\n"));
  CIniFile file("host");
  EXPECT_EQ(file.GetInt("size", 100), 100);
  file.EnableDefValsCreation(true);
  file.EnableDefValsCreation(false);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(Text(), "other=1\n");
}

TEST_F(IniFile, GetsAMissingKeyAppended) {
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(file.GetInt("size", 200), 100);
  EXPECT_EQ(file.GetInt("depth", -7), -7);
  EXPECT_EQ(Text(), "size=100\ndepth=-7\n");
  EXPECT_EQ(CIniFile("host").GetInt("size", 5), 100);
}

TEST_F(IniFile, KeepsItsOtherLinesByteForByte) {
  const std::string before = "; by hand\r\n\n  odd line \xFF\nother = 1\nlast=2";
  WriteFile(folder / "host", before);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("other", 100), 1);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(Text(), before + "\nsize=100\n");
}

TEST_F(IniFile, KeepsAValueThatIsNotAnInteger) {
  WriteFile(folder / "host", std::string("size=plenty\n"));
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(Text(), "size=plenty\n");
}

TEST_F(IniFile, IsMadeTogetherWithItsFolder) {
  const HostSettings deep{folder / "new/deep", ""};
  const SettingsInForce deepInForce(deep);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(ReadFile(folder / "new/deep/host"),
            Bytes({'s', 'i', 'z', 'e', '=', '1', '0', '0', '\n'}));
}

TEST_F(IniFile, AnswersDefaultsWhereNothingCanBeWritten) {
  WriteFile(folder / "file", std::string());
  const HostSettings below{folder / "file", ""};
  const SettingsInForce belowInForce(below);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_THAT(EntryNames(folder.Path()), testing::ElementsAre("file"));
}

TEST_F(IniFile, AnswersDefaultsWhereThereIsNoSettingsFolder) {
  const HostSettings none;
  const SettingsInForce noneInForce(none);
  const EnvironmentValue configHome("XDG_CONFIG_HOME", nullptr);
  const EnvironmentValue home("HOME", nullptr);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_FALSE(FileExists("/host"));
}

TEST_F(IniFile, NeverWaitsForAPipe) {
  ASSERT_EQ(mkfifo((folder / "host").c_str(), 0600), 0);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
}

TEST_F(IniFile, LeavesAFolderOfItsNameAlone) {
  std::filesystem::create_directory(folder / "host");
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_THAT(EntryNames(folder / "host"), testing::IsEmpty());
}

TEST_F(IniFile, LeavesAFileThatIsTooLargeForSettingsAlone) {
  const std::string large = "size=5\n" + std::string(2 << 20, '\n');
  WriteFile(folder / "host", large);
  CIniFile file("host");
  file.EnableDefValsCreation(true);
  EXPECT_EQ(file.GetInt("size", 100), 100);
  EXPECT_EQ(Text(), large);
}

}  // namespace
