#include "sources/cache_file_name.h"

#include <gtest/gtest.h>

TEST(CacheFileName, SaysOfWhichIndexAFileIs) {
  const struct {
    const char* name;
    const char* stem;
    CacheKind kind;
    bool isUnfinished;
  } cases[] = {
      {"cam.id3", "cam", CacheKind::kEntries, false},
      {"cam.x.hdr", "cam.x", CacheKind::kHeaders, false},
      {"24.05.01 14-03-09 cam.evt", "24.05.01 14-03-09 cam", CacheKind::kEvents, false},
      {"cam.id3.unfinished.id3", "cam", CacheKind::kEntries, true},
      {"cam.evt.unfinished-4711.evt", "cam", CacheKind::kEvents, true},
      {"0123.unfinished.hdr", "0123", CacheKind::kHeaders, true},
      {"cam.evt.unfinished.id3", "cam.evt", CacheKind::kEntries, true},
      {"cam.unfinished-.id3", "cam.unfinished-", CacheKind::kEntries, false},
      {"cam.unfinished-x.id3", "cam.unfinished-x", CacheKind::kEntries, false},
      {".unfinished.id3", ".unfinished", CacheKind::kEntries, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const auto name = CacheFileNameFrom(row.name);
    ASSERT_TRUE(name);
    EXPECT_EQ(name->stem, row.stem);
    EXPECT_EQ(name->kind, row.kind);
    EXPECT_EQ(name->isUnfinished, row.isUnfinished);
  }
  for (const char* const other : {"", ".id3", "id3", "cam", "cam.ID3", "cam.id3x", "cam.zel3"})
    EXPECT_FALSE(CacheFileNameFrom(other)) << other;
}

TEST(CacheFileName, BeginsWithATimeInFoldersOfIndexes) {
  EXPECT_TRUE(BeginsWithTime("24.05.01 14-03-09 c"));
  for (const char* const stem : {"", "cam", "24.05.01 14-03-09 ", "24.05.01 14-03-09cam",
                                 "24-05-01 14-03-09 cam", "x4.05.01 14-03-09 cam"})
    EXPECT_FALSE(BeginsWithTime(stem)) << stem;
}
