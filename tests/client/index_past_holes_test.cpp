#include "client/index_past_holes.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "made_archives.h"
#include "support/sparse_file.h"

namespace {

namespace fs = std::filesystem;

void Ignore(const std::string& /*notice*/) {}

// An archive twice, to be indexed in two ways.
class IndexesPastHoles : public testing::Test {
 protected:
  IndexesPastHoles() {
    for (const std::string& folder : {ByReader(), PastHoles()}) fs::create_directory(folder);
  }

  std::string ByReader() const { return mFolder / "reader"; }
  std::string PastHoles() const { return mFolder / "holes"; }

  // `make` writes the archive to a path.
  template <class Make>
  void ExpectTheSameIndex(Make make) {
    for (const std::string& folder : {ByReader(), PastHoles()}) {
      make(folder + "/a.zel3");
      // Not still being written.
      SetModificationTime(folder + "/a.zel3", 1367935389);
    }
    ServedSource byReader(HostOfThisBuild(), ByReader(), MissingIndexes::kBuild, Ignore);
    MadeArchives::NoProgress progress;
    Timeline(&byReader, &progress).IndexAll();
    const ServedSource source(HostOfThisBuild(), PastHoles(), MissingIndexes::kBuild, Ignore);
    EXPECT_TRUE(IndexPastHoles(PastHoles() + "/a.zel3", source, &progress));
    for (const char* const name : {"/a.id3", "/a.hdr", "/a.evt"}) {
      SCOPED_TRACE(name);
      EXPECT_TRUE(FileExists(ByReader() + name));
      EXPECT_EQ(ReadFile(PastHoles() + name), ReadFile(ByReader() + name));
    }
  }

  const TempFolder mFolder;
  const EnvironmentValue mTemporary{"TMPDIR", std::getenv("TMPDIR")};
};

Bytes SampleBytes() {
  const TempFolder folder;
  Scenario scenario = SampleScenario();
  scenario.eventsPerHour = 720;
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  return ReadFile(SampleFile(folder.Path(), truth, 1));
}

}  // namespace

TEST_F(IndexesPastHoles, AreThoseOfAReader) {
  const Bytes sample = SampleBytes();
  ExpectTheSameIndex([&](const std::string& path) { WriteFile(path, sample); });
}

TEST_F(IndexesPastHoles, OfAnArchiveThatIsCutOffToo) {
  const Bytes sample = SampleBytes();
  ExpectTheSameIndex(
      [&](const std::string& path) { WriteFile(path, Between(sample, 0, sample.size() - 20)); });
}

TEST_F(IndexesPastHoles, OfADamagedArchiveToo) {
  Bytes sample = SampleBytes();
  std::fill_n(sample.begin() + static_cast<std::ptrdiff_t>(sample.size() / 2), 200, 0xEE);
  ExpectTheSameIndex([&](const std::string& path) { WriteFile(path, sample); });
}

TEST_F(IndexesPastHoles, OfAnArchiveWithHolesToo) {
  const Bytes sample = SampleBytes();
  ExpectTheSameIndex([&](const std::string& path) {
    WriteFile(path, sample);
    fs::resize_file(path, 5'000'001);
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(sample.data()),
               static_cast<std::streamsize>(sample.size()));
    fs::resize_file(path, 9'000'003);
  });
}

TEST_F(IndexesPastHoles, AreForArchivesThatAreMostlyHoles) {
  constexpr std::int64_t kMiB = 1 << 20;
  const std::string path = mFolder / "a.zel3";
  EXPECT_FALSE(IsMostlyHoles(path)) << "no file";
  MakeSparseFile(path, 256 * kMiB);
  EXPECT_FALSE(IsMostlyHoles(path)) << "few enough to be read";
  MakeSparseFile(path, 257 * kMiB);
  EXPECT_TRUE(IsMostlyHoles(path));
  WriteFile(path, Bytes(20 * kMiB, 7));
  fs::resize_file(path, 20 * kMiB + 300 * kMiB);
  EXPECT_FALSE(IsMostlyHoles(path)) << "the data takes as long";
  fs::resize_file(path, 20 * kMiB + 400 * kMiB);
  EXPECT_TRUE(IsMostlyHoles(path));
}
