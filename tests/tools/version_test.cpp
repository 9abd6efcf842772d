#include <gmock/gmock.h>

#include <filesystem>

#include "support/program.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

class Version : public ProgramTest {};

}  // namespace

TEST_F(Version, NamesTheProgramItsPlugInsAndQt) {
  const ProgramResult result = Run({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(LinesOf(result.out),
              ElementsAre(MatchesRegex("zel3 [0-9]+\\.[0-9]+\\.[0-9]+"),
                          AllOf(StartsWith("reader plug-in /"), EndsWith("/zel3reader.so")),
                          AllOf(StartsWith("parser plug-in /"), EndsWith("/zel3parser.so")),
                          MatchesRegex("Qt 5\\.[0-9.]+ \\(built with 5\\.[0-9.]+\\)")));
}

TEST_F(Version, GoesByTheFolderAskedForAndLoadsNothing) {
  const std::string folder = *this / "a\x1b[31mb";
  std::filesystem::create_directory(folder);
  WriteFile(folder + "/zel3reader.so", "no plug-in");
  const ProgramResult result = Run({"--version", "--plugin-folder", folder});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(LinesOf(result.out)[1], "reader plug-in " + Folder() + "/a\\u001b[31mb/zel3reader.so");
  EXPECT_THAT(LinesOf(result.out)[2], Not(StartsWith("parser plug-in " + Folder())));
}

TEST_F(Version, SaysWhichPlugInIsMissing) {
  // Away from its plug-ins; only the library of the host is found.
  const std::filesystem::path program = ZEL3_PROGRAM;
  const std::string libraries = (program.parent_path().parent_path() / "lib").string();
  std::filesystem::create_directory(*this / "bin");
  std::filesystem::copy_file(program, *this / "bin/zel3");
  WriteFile(*this / "bin/zel3parser.so", "no plug-in");
  const ProgramResult result =
      RunOther("env", {"LD_LIBRARY_PATH=" + libraries, *this / "bin/zel3", "--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(LinesOf(result.out)[1],
              StartsWith("reader plug-in is missing: no plug-in file zel3reader.so in " + Folder() +
                         "/bin, " + Folder() + "/lib"));
  EXPECT_EQ(LinesOf(result.out)[2], "parser plug-in " + Folder() + "/bin/zel3parser.so");
}
