#include <filesystem>

#include "support/folder_watch.h"
#include "support/private_mount.h"
#include "support/program.h"

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

constexpr char kFrom[] = "2024-05-01T00:10:00Z";
constexpr char kTo[] = "2024-05-01T00:20:00Z";

// Every request that the console knows.
constexpr char kConversation[] = R"({"cmd":"ArcR"}
{"cmd":"CRq3","time":1714522200000,"type":1}
{"cmd":"CRq3","time":1714522200000,"type":1}
{"cmd":"PCR3","indexId":10,"time":1714522200000}
{"cmd":"Pla3","forward":1}
{"cmd":"His3","from":1714521600000,"to":1714525200000,"binCount":100,"streamId":1}
{"cmd":"CRq3","time":1714522200000,"type":2}
{"cmd":"Prev","time":1714522200000,"endTime":1714522300000}
{"cmd":"datr"}
)";

// All that the program does with a folder of archives and with one of them.
class ReadOnlyArchives : public ProgramTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(Run({"make", archives, "--length", "1h", "--files", "3", "--interval", "10s",
                   "--start", "2024-05-01"})
                  .exitCode,
              0);
    fs::create_directory(cacheFolder);
    for (const std::string& name : EntryNames(archives)) {
      paths.push_back(archives + "/" + name);
      written.push_back(ReadFile(paths.back()));
    }
  }

  void UseEveryVerb(const Arguments& options) {
    for (const std::string& source : {archives, paths[0]}) {
      const Arguments verbs[] = {
          {"info", source},
          {"dump", source},
          {"seek", source, kFrom},
          {"index", source},
          {"read", source, kFrom, kTo, "-o", *this / "bytes"},
          {"events", source, kFrom, kTo},
          {"activity", source, "--stream", "1", kFrom, kTo},
          {"preview", source, kFrom, kTo},
          {"cut", source, kFrom, kTo, "-o", *this / "cut.zel3", "--force"},
          {"gaps", source},
          {"doctor", source},
          {"caches", source},
          {"report", source, "-o", *this / "page.html"},
          {"console", source},
      };
      for (const Arguments& verb : verbs) {
        Arguments arguments = options;
        arguments.insert(arguments.end(), verb.begin(), verb.end());
        const ProgramResult result = Run(arguments, verb[0] == "console" ? kConversation : "");
        EXPECT_EQ(result.exitCode, 0) << verb[0] << ' ' << source << '\n' << result.err;
        const bool isSilent = verb[0] == "read" || verb[0] == "report";
        EXPECT_EQ(result.out.empty(), isSilent) << verb[0];
      }
    }
    for (std::size_t i = 0; i < paths.size(); ++i) EXPECT_EQ(ReadFile(paths[i]), written[i]);
  }

  const std::string archives = *this / "archives";
  const std::string cacheFolder = *this / "cache";
  std::vector<std::string> paths;
  std::vector<Bytes> written;
};

TEST_F(ReadOnlyArchives, AreAllThatIsNeeded) {
  if (!PrivateMount::CanMount()) GTEST_SKIP() << "this system does not let a process mount";
  const PrivateMount readOnly = PrivateMount::ReadOnly(archives);
  ASSERT_THROW(WriteFile(archives + "/new", Bytes()), std::runtime_error);
  UseEveryVerb({"--cache-folder", cacheFolder});
  // Without one, each start makes an index of its own, of one file at a time.
  for (const std::string& path : paths) {
    EXPECT_EQ(Run({"index", path}).exitCode, 0) << path;
  }
}

TEST_F(ReadOnlyArchives, AreNeverOpenForWritingWhereTheCacheLiesElsewhere) {
  const FolderWatch watch(archives);
  UseEveryVerb({"--cache-folder", cacheFolder});
  EXPECT_THAT(watch.Steps(), IsEmpty());
}

TEST_F(ReadOnlyArchives, AreNeverOpenForWritingWhereTheCacheLiesBeside) {
  const FolderWatch watch(archives);
  UseEveryVerb({});
  const std::vector<std::string> steps = watch.Steps();
  EXPECT_THAT(steps, testing::Contains(testing::EndsWith(".id3")));
  EXPECT_THAT(steps, testing::Each(testing::Not(testing::EndsWith(".zel3"))));
}

}  // namespace
