#include <gmock/gmock.h>
#include <signal.h>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class ConsoleRun : public ProgramTest {};

}  // namespace

TEST_F(ConsoleRun, ASingleFileWithoutIndexIsIndexedBeforeTheFirstIdle) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const ProgramResult result = Run({"console", SampleFile(Folder(), truth, 0)});
  std::vector<std::string> lines = LinesOf(result.out);
  ASSERT_GE(lines.size(), 3U);
  EXPECT_EQ(lines.back(), kIdle);
  EXPECT_THAT(lines[lines.size() - 2], HasSubstr(R"("level":"Cewg")"));
  lines.resize(lines.size() - 2);
  const std::string detail = R"(%","detail":")" + truth.files[0].name + "\"}";
  EXPECT_THAT(lines,
              testing::Each(AllOf(HasSubstr(R"("level":"Warn","code":"W008","value":6,"text":")"),
                                  EndsWith(detail))));
}

TEST_F(ConsoleRun, AMissingSourceGivesAReaderThatHasNothing) {
  const ProgramResult result = Run({"console", *this / "nothing.zel3"}, R"({"cmd":"ArcR"})");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(LinesOf(result.out), ElementsAre(kIdle, kIdle));
}

TEST_F(ConsoleRun, AFolderWithoutArchivesIsReported) {
  const ProgramResult result = Run({"console", Folder()}, R"({"cmd":"ArcR"})");
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre(
          kIdle,
          R"({"block":"ntfy","kind":"NMsg","sender":862741850,"level":"Err ","code":"W010","value":6,"text":"No archive in","detail":")" +
              Folder() + "\"}",
          kIdle));
}

TEST_F(ConsoleRun, ASingleFileWithoutAParserIsNotAnArchive) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const ProgramResult result =
      Run({"console", "--no-parser", SampleFile(Folder(), truth, 0)}, R"({"cmd":"ArcR"})");
  EXPECT_THAT(LinesOf(result.out), testing::Contains(AllOf(HasSubstr(R"("code":"W010")"),
                                                           EndsWith(truth.files[0].name + "\"}"))));
}

TEST_F(ConsoleRun, TheCacheFolderHoldsTheIndex) {
  const TempFolder caches;
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  Run({"console", "--cache-folder", caches.Path(), SampleFile(Folder(), truth, 0)});
  EXPECT_EQ(EntryNames(caches.Path()).size(), 3U);
  EXPECT_EQ(EntryNames(Folder()).size(), 3U) << "the archives alone";
}

TEST_F(ConsoleRun, TheSettingsFolderGetsTheSettingsOfTheCache) {
  const TempFolder caches;
  const TempFolder settings;
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  Run({"console", "--cache-folder", caches.Path(), "--settings-folder", settings.Path(),
       SampleFile(Folder(), truth, 0)});
  EXPECT_THAT(EntryNames(settings.Path()), ElementsAre(StartsWith("zel3index_cache")));
}

TEST_F(ConsoleRun, ALongPathIsAUsageError) {
  const std::string longest(260, 'x');
  EXPECT_EQ(Run({"console", longest}).exitCode, 0);
  EXPECT_EQ(Run({"console", longest + "x"}).exitCode, 2);
  for (const char* const folder : {"--cache-folder", "--settings-folder"}) {
    SCOPED_TRACE(folder);
    EXPECT_EQ(Run({"console", folder, longest, Folder()}).exitCode, 0);
    EXPECT_EQ(Run({"console", folder, longest + "x", Folder()}).exitCode, 2);
  }
}

TEST_F(ConsoleRun, APlugInThatCannotBeLoadedIsAFailure) {
  WriteFile(*this / "zel3reader.so", "no plug-in");
  const ProgramResult result = Run({"console", "--plugin-folder", Folder(), Folder()}, "{}\n");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, AllOf(StartsWith("zel3: "), HasSubstr("zel3reader.so"), EndsWith("\n")));
}

TEST_F(ConsoleRun, AnswersAreFlushedWhileTheInputStaysOpen) {
  Start({"console", Folder()});
  WaitForOutput(std::string(kIdle) + "\n");
  Input("{\"cmd\":\"datr\"}\n");
  WaitForOutput(R"("size":13)");
  CloseInput();
  EXPECT_EQ(Finish().exitCode, 0);
}

TEST_F(ConsoleRun, ErrorsAreFlushedWhileTheInputStaysOpen) {
  Start({"console", Folder()});
  Input("x\n");
  WaitForOutput("{\"error\":\"line 1: not a JSON value\"}\n{\"idle\":true}\n");
  CloseInput();
  EXPECT_EQ(Finish().exitCode, 2);
}

TEST_F(ConsoleRun, AsManyBinsAsMemoryHoldsAreShown) {
  constexpr std::size_t kBins = 20000000;
  const std::string head =
      R"({"block":"ntfy","kind":"Gist","from":1,"to":2,"streamId":0,"binCount":20000000,"levels":[)";
  const ProgramResult result =
      Run({"console", Folder()}, R"({"cmd":"His3","from":1,"to":2,"binCount":20000000})");
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::vector<std::string> lines = LinesOf(result.out);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[1], StartsWith(head + "0,0,"));
  EXPECT_THAT(lines[1], EndsWith(",0,0]}"));
  EXPECT_EQ(lines[1].size(), head.size() + 2 * kBins - 1 + 2);
}

TEST_F(ConsoleRun, AnInterruptDuringARunEndsIt) {
  Scenario scenario = SampleScenario();
  scenario.gaps.clear();
  scenario.headerChanges.clear();
  scenario.lengthSeconds = scenario.fileSeconds = 60000;
  const GroundTruth truth = WriteScenario(Folder(), scenario);
  Start({"console", SampleFile(Folder(), truth, 0)});
  while (!HasEnded()) SendSignal(SIGINT);
  EXPECT_EQ(Finish().exitCode, 130);
}

TEST_F(ConsoleRun, AnInterruptEndsIt) {
  Start({"console", Folder()});
  WaitForOutput(kIdle);
  while (!HasEnded()) SendSignal(SIGINT);
  EXPECT_EQ(Finish().exitCode, 130);
}
