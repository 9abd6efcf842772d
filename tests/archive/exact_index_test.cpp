#include "archive/exact_index.h"

#include <gmock/gmock.h>

#include <QFile>
#include <filesystem>

#include "support/index_cache.h"
#include "support/program.h"
#include "support/sample_archive.h"

namespace {

// An archive with the index that a reader has built.
class ExactIndex : public ProgramTest {
 protected:
  ExactIndex() {
    Scenario scenario = SampleScenario();
    scenario.eventsPerHour = 720;
    const GroundTruth truth = WriteScenario(Folder(), scenario);
    mArchive = SampleFile(Folder(), truth, 1);
    EXPECT_EQ(Run({"index", mArchive}).exitCode, 0);
  }

  bool IsExact() const {
    return IsExactIndex(CacheNames(QFile::decodeName(mArchive.c_str()), QString()), mArchive);
  }

  std::string mArchive;
};

constexpr const char* kKinds[] = {"id3", "hdr", "evt"};

}  // namespace

TEST_F(ExactIndex, IsTheOneThatAReaderBuilds) {
  for (const char* const kind : kKinds) EXPECT_FALSE(ReadFile(CachePath(mArchive, kind)).empty());
  EXPECT_TRUE(IsExact());
}

TEST_F(ExactIndex, HasNoOtherByte) {
  for (const char* const kind : kKinds) {
    const std::string path = CachePath(mArchive, kind);
    const Bytes good = ReadFile(path);
    for (std::size_t place = 0; place < good.size(); ++place) {
      Bytes other = good;
      other[place] ^= 0x40;
      WriteFile(path, other);
      EXPECT_FALSE(IsExact()) << kind << " byte " << place;
    }
    WriteFile(path, good);
  }
  EXPECT_TRUE(IsExact());
}

TEST_F(ExactIndex, HasNoOtherLength) {
  for (const char* const kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::string path = CachePath(mArchive, kind);
    const Bytes good = ReadFile(path);
    WriteFile(path, Between(good, 0, good.size() - 1));
    EXPECT_FALSE(IsExact());
    WriteFile(path, good + Bytes{0});
    EXPECT_FALSE(IsExact());
    std::filesystem::remove(path);
    EXPECT_FALSE(IsExact());
    WriteFile(path, good);
  }
}

TEST_F(ExactIndex, BelongsToNoOtherArchive) {
  const Bytes archive = ReadFile(mArchive);
  WriteFile(mArchive, Between(archive, 0, archive.size() / 2));
  EXPECT_FALSE(IsExact());
  std::filesystem::remove(mArchive);
  EXPECT_FALSE(IsExact());
}
