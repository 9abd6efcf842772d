#include "archive/archive_recognition.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::HasSubstr;
using testing::Optional;
using testing::StartsWith;

namespace {

class Recognition : public ProgramTest {
 protected:
  std::optional<std::string> WhyNot(const std::string& bytes) {
    WriteFile(*this / "file", bytes);
    return WhyNotForReaders(*this / "file");
  }
};

// The verbs that ask a reader about a source.
std::vector<std::vector<std::string>> VerbsOn(const std::string& source) {
  return {{"info", source},
          {"index", source},
          {"seek", source, "1"},
          {"seek", source, "1", "--explain"},
          {"read", source, "1", "2", "-o", "-"},
          {"events", source},
          {"events", source, "--no-index"},
          {"activity", source, "--stream", "1"},
          {"activity", source, "--stream", "1", "--no-index"},
          {"preview", source, "1", "2"},
          {"report", source, "-o", "-"}};
}

const std::string kHeader = "\xb5\xb5\x05\xb5";
const std::string kIndexRecord = "\x05\xb5\xb5\xb5 timeflag";

}  // namespace

TEST_F(Recognition, AnArchiveHoldsAHeaderInItsHeadOrAnIndexRecordNearItsEnds) {
  const std::string noise(200000, 'x');
  const struct {
    const char* what;
    std::string bytes;
  } archives[] = {
      {"a header and nothing else", kHeader},
      {"a header that ends the head", noise.substr(0, 65531) + kHeader + noise},
      {"an index record in the head", "lost" + kIndexRecord + noise},
      {"an index record at the end", noise + kIndexRecord},
      {"an index record in the last stretch", noise + kIndexRecord + noise.substr(0, 65538)},
  };
  for (const auto& row : archives) EXPECT_EQ(WhyNot(row.bytes), std::nullopt) << row.what;
  const struct {
    const char* what;
    std::string bytes;
  } others[] = {
      {"text", noise},
      {"a header that the head does not hold", noise.substr(0, 65532) + kHeader + noise},
      {"an index record that is cut off", noise + kIndexRecord.substr(0, 12)},
      {"an index record far from the ends", noise + kIndexRecord + noise},
      {"three bytes", "\xb5\xb5\x05"},
  };
  for (const auto& row : others)
    EXPECT_THAT(WhyNot(row.bytes), Optional(StartsWith("is not an archive: it has"))) << row.what;
  EXPECT_THAT(WhyNot(""), Optional(std::string("is not an archive: it is empty")));
}

TEST_F(Recognition, NothingChangesBesideAFileThatIsNotAnArchive) {
  WriteFile(*this / "photo.jpg", std::string(5000, 'x'));
  WriteFile(*this / "photo.hdr", "the light of the picture");
  WriteFile(*this / "photo.id3", "");
  WriteFile(*this / "photo.evt", "what happened there");
  WriteFile(*this / "notes", "without a suffix");
  const FolderSnapshot before = SnapshotOf(Folder());
  for (const char* const name : {"photo.jpg", "notes"}) {
    for (const Arguments& arguments : VerbsOn(*this / name)) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const ProgramResult result = Run(arguments);
      EXPECT_EQ(result.exitCode, 1);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, "zel3: " + std::string(name) +
                                " is not an archive: it has no header near its start, and no index "
                                "record near its ends\n");
    }
    EXPECT_EQ(Run({"doctor", *this / name}).exitCode, 3) << "it may look";
    EXPECT_EQ(Run({"doctor", *this / name, "--rebuild"}).exitCode, 1);
    EXPECT_EQ(Run({"dump", *this / name}).exitCode, 3);
    EXPECT_EQ(SnapshotOf(Folder()), before);
  }
  EXPECT_FALSE(FileExists(CacheHome()));
}

TEST_F(Recognition, AFolderIsServedWithoutThem) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  WriteFile(*this / "z.zel3", std::string(5000, 'x'));
  WriteFile(*this / "z.hdr", "precious");
  SetModificationTime(*this / "z.zel3", 1000);
  const FolderSnapshot before = SnapshotOf(Folder());
  const ProgramResult index = Run({"index", Folder()});
  EXPECT_EQ(index.exitCode, 3);
  EXPECT_THAT(index.out, HasSubstr("z.zel3                          failed  -"));
  for (const Arguments& arguments :
       {Arguments{"index", Folder()},
        Arguments{"preview", Folder(), "1714521600000", "1714521700000"},
        Arguments{"read", Folder(), "1714521600000", "1714521700000"},
        Arguments{"report", Folder(), "-o", "-"}}) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 3) << arguments[0];
    EXPECT_THAT(result.err, StartsWith("zel3: z.zel3 is not an archive: ")) << arguments[0];
    EXPECT_THAT(result.err, HasSubstr("; it is left out\n")) << arguments[0];
  }
  EXPECT_EQ(SnapshotOf(Folder()), before);
}

TEST_F(Recognition, AnArchiveWithADamagedHeadIsOne) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string path = SampleFile(Folder(), truth, 0);
  const Bytes bytes = ReadFile(path);
  WriteFile(path, Bytes(100, 0) + Between(bytes, 100, bytes.size()));
  EXPECT_EQ(Run({"index", path}).exitCode, 3);
}
