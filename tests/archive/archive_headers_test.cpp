#include "archive/archive_headers.h"

#include <gmock/gmock.h>

#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ArchiveHeaders : public testing::Test {
 protected:
  ArchiveHeaders() {
    // In the second file a header in the middle declares stream 4 active.
    Scenario scenario = SampleScenario();
    scenario.headerChanges = {{1, 30, 4, true}};
    mTruth = WriteScenario(mFolder.Path(), scenario);
    mPath = SampleFile(mFolder.Path(), mTruth, 1);
  }

  const std::vector<FilePosition>& Positions() const { return mTruth.files[1].headerPositions; }

  void Damage(FilePosition position) {
    Bytes bytes = ReadFile(mPath);
    bytes[static_cast<std::size_t>(position)] ^= 1;
    WriteFile(mPath, bytes);
  }

  TempFolder mFolder;
  GroundTruth mTruth;
  std::string mPath;
};

}  // namespace

TEST_F(ArchiveHeaders, AllThatAreKnownTellTheStreams) {
  ASSERT_EQ(Positions().size(), 2U);
  const auto streams = StreamsOfHeaders(mPath, Positions());
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, ElementsAre(1, 2, 3, 4));
  EXPECT_TRUE(streams->ofAllHeaders);
}

TEST_F(ArchiveHeaders, TheFirstOneTellsThemWhereNoOtherIsKnown) {
  const auto streams = StreamsOfHeaders(mPath, {});
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, ElementsAre(1, 2, 3));
  EXPECT_FALSE(streams->ofAllHeaders);
}

TEST_F(ArchiveHeaders, PositionsOfAnotherFileCountForNothing) {
  for (const FilePosition wrong : {Positions()[1] + 1, FilePosition{1} << 47}) {
    const auto streams = StreamsOfHeaders(mPath, {0, wrong});
    ASSERT_TRUE(streams);
    EXPECT_THAT(streams->ids, ElementsAre(1, 2, 3));
    EXPECT_FALSE(streams->ofAllHeaders);
  }
}

TEST_F(ArchiveHeaders, ADamagedFirstOneTellsNothing) {
  for (const FilePosition damaged : {4, 5}) {
    Damage(damaged);
    EXPECT_FALSE(StreamsOfHeaders(mPath, {})) << damaged;
    Damage(damaged);
  }
  EXPECT_TRUE(StreamsOfHeaders(mPath, {}));
}

TEST_F(ArchiveHeaders, TheFirstOneIsTheFirstWithAMarker) {
  Damage(0);
  const auto streams = StreamsOfHeaders(mPath, {});
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, ElementsAre(1, 2, 3, 4)) << "the one in the middle";
}

TEST_F(ArchiveHeaders, BytesBeforeTheFirstOneDoNoHarm) {
  WriteFile(mPath, Bytes(1000, 'x') + ReadFile(mPath));
  const auto streams = StreamsOfHeaders(mPath, {});
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, ElementsAre(1, 2, 3));
}

TEST_F(ArchiveHeaders, StreamsWithoutDataAreLeftOut) {
  ArchiveHeader header = OneStreamHeader();
  header.streams[0].active = 0;
  const auto record = EncodeHeaderRecord(header);
  WriteFile(mPath, Bytes(record->begin(), record->end()));
  const auto streams = StreamsOfHeaders(mPath, {});
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, IsEmpty());
}

TEST_F(ArchiveHeaders, WhatCannotBeReadTellsNothing) {
  EXPECT_FALSE(StreamsOfHeaders(mFolder.Path(), {}));
  EXPECT_FALSE(StreamsOfHeaders(mFolder / "missing", {0}));
  const Bytes bytes = ReadFile(mPath);
  for (std::size_t size = 0; size < mTruth.files[1].entries[0].position; ++size) {
    WriteFile(mPath, Between(bytes, 0, size));
    EXPECT_FALSE(StreamsOfHeaders(mPath, {})) << size;
  }
}
