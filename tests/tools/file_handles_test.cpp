#include <gmock/gmock.h>
#include <sys/resource.h>

#include "support/program.h"
#include "support/sample_archive.h"
#include "support/sanitized.h"

namespace {

class FileHandles : public ProgramTest {};

}  // namespace

TEST_F(FileHandles, TooFewAreAnErrorAndNotAnEmptyArchive) {
  if (kIsSanitized) GTEST_SKIP() << "the sanitizers open files themselves";
  WriteScenario(Folder(), SampleScenario());
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  const Arguments arguments{"seek", Folder(), std::to_string(SampleTime(20))};
  const std::string answer = Run(arguments).out;
  int failed = 0;
  for (rlim_t most = 3; most < 40; ++most) {
    SCOPED_TRACE(most);
    Start(arguments, [most] {
      const rlimit limit{most, most};
      setrlimit(RLIMIT_NOFILE, &limit);
    });
    const ProgramResult result = Finish();
    // With even fewer, the system cannot load the program.
    if (result.exitCode == 127) continue;
    if (result.exitCode == 0) {
      EXPECT_EQ(result.out, answer);
      EXPECT_EQ(result.err, "");
    } else {
      ++failed;
      EXPECT_EQ(result.exitCode, 1);
      EXPECT_THAT(result.err, testing::HasSubstr("too few files may be open at once"));
    }
  }
  EXPECT_GT(failed, 10);
}
