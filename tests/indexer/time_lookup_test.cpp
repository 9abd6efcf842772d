#include <gmock/gmock.h>

#include "stores_for_tests.h"
#include "support/lookup_answer.h"

// Index times are written in index units, archive times in thousandths of them.

namespace {

struct LookupCase {
  const char* what;
  std::vector<sFile_Index_Store> files;
  std::uint64_t time;
  Answer atOrBefore;
  Answer forward;
  Answer backward;
};

void ExpectAnswers(const LookupCase& row) {
  SCOPED_TRACE(testing::Message() << row.what << ", time " << row.time);
  cZel3Indexer index;
  FileAll(index, row.files);
  EXPECT_EQ(Look(index, row.time, Ask::kAtOrBefore), row.atOrBefore);
  EXPECT_EQ(Look(index, row.time, Ask::kForward), row.forward);
  EXPECT_EQ(Look(index, row.time, Ask::kBackward), row.backward);
}

TEST(TimeLookup, FindsTheEntryAndItsNeighboursInOneFile) {
  const std::vector<sFile_Index_Store> file = {FileOf("a", {10, 20, 30}, 40)};
  const LookupCase cases[] = {
      {"before the file", file, 9999, kNothing, kNothing, kNothing},
      {"first entry", file, 10000, At(0, 0, 10000), At(0, 1, 20000), kNothing},
      {"first interval", file, 19999, At(0, 0, 10000), At(0, 1, 20000), kNothing},
      {"second entry", file, 20000, At(0, 1, 20000), At(0, 2, 30000), At(0, 0, 10000)},
      {"second interval", file, 29999, At(0, 1, 20000), At(0, 2, 30000), At(0, 0, 10000)},
      {"last entry", file, 30000, At(0, 2, 30000), kNothing, At(0, 1, 20000)},
      {"after the last entry", file, 35000, At(0, 2, 30000), kNothing, At(0, 1, 20000)},
      {"end of the file", file, 40000, At(0, 2, 30000), kNothing, At(0, 1, 20000)},
      {"after the file", file, 40001, kNothing, kNothing, kNothing},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, CrossesFromFileToFile) {
  const std::vector<sFile_Index_Store> files = {FileOf("a", {10, 20, 30}, 35),
                                                FileOf("b", {50, 60}, 65), FileOf("c", {65, 70})};
  const LookupCase cases[] = {
      {"last entry", files, 30000, At(0, 2, 30000), At(1, 0, 50000), At(0, 1, 20000)},
      {"end of the first file", files, 35000, At(0, 2, 30000), At(1, 0, 50000), At(0, 1, 20000)},
      {"first interval of the second", files, 50000, At(1, 0, 50000), At(1, 1, 60000),
       At(0, 2, 30000)},
      {"last entry of the second", files, 60000, At(1, 1, 60000), At(2, 0, 65000), At(1, 0, 50000)},
      {"where two files meet the later one holds the time", files, 65000, At(2, 0, 65000),
       At(2, 1, 70000), At(1, 1, 60000)},
      {"end of all", files, 70000, At(2, 1, 70000), kNothing, At(2, 0, 65000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, OfEqualTimesFindsTheLast) {
  const std::vector<sFile_Index_Store> file = {FileOf("a", {10, 10, 20})};
  const std::vector<sFile_Index_Store> end = {FileOf("a", {10, 20, 20})};
  const std::vector<sFile_Index_Store> all = {FileOf("a", {10, 10, 10})};
  const LookupCase cases[] = {
      {"10, 10, 20", file, 10000, At(0, 1, 10000), At(0, 2, 20000), At(0, 0, 10000)},
      {"10, 20, 20", end, 20000, At(0, 2, 20000), kNothing, At(0, 1, 20000)},
      {"10, 10, 10", all, 10000, At(0, 2, 10000), kNothing, At(0, 1, 10000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, NamesEntryMinusOneBeforeASingleEntry) {
  const std::vector<sFile_Index_Store> one = {FileOf("a", {10}, 16)};
  const std::vector<sFile_Index_Store> second = {FileOf("a", {1, 2}), FileOf("b", {10}, 16),
                                                 FileOf("c", {90})};
  const LookupCase cases[] = {
      {"at it", one, 10000, At(0, 0, 10000), kNothing, At(0, -1, 10000)},
      {"after it", one, 16000, At(0, 0, 10000), kNothing, At(0, -1, 10000)},
      {"between other files", second, 12000, At(1, 0, 10000), At(2, 0, 90000), At(1, -1, 10000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, PrefersTheLaterOfOverlappingFiles) {
  const std::vector<sFile_Index_Store> files = {FileOf("long", {10, 30, 50}),
                                                FileOf("short", {20, 40})};
  const LookupCase cases[] = {
      {"in the first only", files, 19999, At(0, 0, 10000), At(0, 1, 30000), kNothing},
      {"in both", files, 20000, At(1, 0, 20000), At(1, 1, 40000), At(0, 2, 50000)},
      {"end of the second", files, 40000, At(1, 1, 40000), kNothing, At(1, 0, 20000)},
      {"in the first only again", files, 40001, At(0, 1, 30000), At(0, 2, 50000), At(0, 0, 10000)},
      {"its end", files, 50000, At(0, 2, 50000), At(1, 0, 20000), At(0, 1, 30000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, WalksFrontToBackWhereTimesDoNotAscend) {
  const std::vector<sFile_Index_Store> jump = {FileOf("a", {10, 30, 20, 40})};
  const std::vector<sFile_Index_Store> fall = {FileOf("a", {30, 20, 10})};
  const std::vector<sFile_Index_Store> dip = {FileOf("a", {30, 10, 40}), FileOf("b", {90})};
  const std::vector<sFile_Index_Store> early = {FileOf("a", {1}), FileOf("b", {20, 10, 30, 40}),
                                                FileOf("c", {90})};
  const std::vector<sFile_Index_Store> low = {FileOf("a", {30, 10, 20}), FileOf("b", {90})};
  const LookupCase cases[] = {
      {"the first interval that holds the time", jump, 25000, At(0, 0, 10000), At(0, 1, 30000),
       kNothing},
      {"a later interval", jump, 35000, At(0, 2, 20000), At(0, 3, 40000), At(0, 1, 30000)},
      {"times that only fall", fall, 25000, At(0, 2, 10000), kNothing, At(0, 1, 20000)},
      {"after a dip", dip, 15000, At(0, 1, 10000), At(0, 2, 40000), At(0, 0, 30000)},
      {"in the first interval after an early start", early, 15000, At(1, 1, 10000), At(1, 2, 30000),
       At(1, 0, 20000)},
      {"from the last entry on, between others' times", low, 25000, At(0, 2, 20000),
       At(1, 0, 90000), At(0, 1, 10000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, WithoutAHitOnlyTheNextFileIsTaken) {
  sFile_Index_Store early = FileOf("a", {10, 20});
  early.startTime = 5;
  const std::vector<sFile_Index_Store> files = {early, FileOf("b", {50})};
  const LookupCase cases[] = {
      {"before the first entry", files, 7000, kNothing, At(1, 0, 50000), kNothing},
      {"in the only file", {early}, 7000, kNothing, kNothing, kNothing},
      {"after another file", {FileOf("z", {1, 2}), early}, 7000, kNothing, kNothing, kNothing},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, InAGapFindsTheNextFileOrTheFirstOneBefore) {
  const std::vector<sFile_Index_Store> two = {FileOf("a", {100, 200}), FileOf("b", {300, 400})};
  const std::vector<sFile_Index_Store> three = {FileOf("a", {100, 150, 200}),
                                                FileOf("b", {300, 400}), FileOf("c", {500, 600})};
  const std::vector<sFile_Index_Store> shrunk = {FileOf("a", {100, 900}), FileOf("a", {100, 200}),
                                                 FileOf("b", {300, 400})};
  const std::vector<sFile_Index_Store> wrapped = {FileOf("a", {1, 3}),
                                                  FileOf("a", {0xFFFFFFFE}, 4)};
  const std::vector<sFile_Index_Store> wrappedFirst = {FileOf("a", {0xFFFFFFFE}, 4),
                                                       FileOf("b", {0xFFFFFFFF})};
  const std::vector<sFile_Index_Store> shrunkFront = {FileOf("a", {100, 900}),
                                                      FileOf("a", {500, 900})};
  const LookupCase cases[] = {
      {"between two files", two, 250000, At(1, 0, 300000), At(1, 0, 300000), At(0, 0, 200000)},
      {"right after the first", two, 200001, At(1, 0, 300000), At(1, 0, 300000), At(0, 0, 200000)},
      {"right before the second", two, 299999, At(1, 0, 300000), At(1, 0, 300000),
       At(0, 0, 200000)},
      {"backward the lowest file wins", three, 450000, At(2, 0, 500000), At(2, 0, 500000),
       At(0, 0, 200000)},
      {"after all files that are left", shrunk, 800000, kNothing, kNothing, At(0, 0, 200000)},
      {"before all files that are left", shrunkFront, 300000, At(0, 0, 500000), At(0, 0, 500000),
       kNothing},
      {"backward at the very end of a file whose end time has wrapped", wrapped, 4000,
       At(0, 0, 4294967294000), At(0, 0, 4294967294000), At(0, 0, 4294967294000)},
      {"at the very start of such a file", wrappedFirst, 4294967294000, At(0, 0, 4294967294000),
       At(0, 0, 4294967294000), At(0, 0, 4294967294000)},
      {"before the first time", two, 99999, kNothing, kNothing, kNothing},
      {"after the last time", two, 400001, kNothing, kNothing, kNothing},
      {"the latest time there is", two, ~0ULL, kNothing, kNothing, kNothing},
      {"zero", two, 0, kNothing, kNothing, kNothing},
      {"no files", {}, 0, kNothing, kNothing, kNothing},
      {"no files, any time", {}, 0x7FFFFFFFULL * 1000, kNothing, kNothing, kNothing},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, InAGapTakesTheFirstFileInTheListThatStartsLater) {
  // A replacement keeps its place, so start times need not ascend.
  const std::vector<sFile_Index_Store> files = {FileOf("a", {10, 20}), FileOf("b", {50, 60}),
                                                FileOf("c", {90, 95}), FileOf("b", {200, 210})};
  const LookupCase cases[] = {
      {"later than the file after it", files, 30000, At(1, 0, 200000), At(1, 0, 200000),
       At(0, 0, 20000)},
      {"after the last of the list", files, 100000, At(1, 0, 200000), At(1, 0, 200000),
       At(0, 0, 20000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, PassesOverFilesWithoutEntries) {
  const auto a = FileOf("a", {10, 20});
  const auto b = FileOf("b", {30, 40});
  const auto c = FileOf("c", {50, 60});
  const auto noEntries = [](const char* name) { return FileOf(name, {}); };
  sFile_Index_Store sameTimes = noEntries("d");
  sameTimes.startTime = 10;
  sameTimes.endTime = 20;
  // Filed again, a file keeps its place, whatever is left of it.
  const std::vector<sFile_Index_Store> middle = {a, b, c, noEntries("b")};
  const std::vector<sFile_Index_Store> front = {a, b, c, noEntries("a")};
  const std::vector<sFile_Index_Store> back = {a, b, c, noEntries("c")};
  const std::vector<sFile_Index_Store> onlyLast = {a, b, c, noEntries("a"), noEntries("b")};
  const LookupCase cases[] = {
      {"forward to the one after", middle, 20000, At(0, 1, 20000), At(2, 0, 50000),
       At(0, 0, 10000)},
      {"backward to the one before", middle, 50000, At(2, 0, 50000), At(2, 1, 60000),
       At(0, 1, 20000)},
      {"from its own former time", middle, 35000, At(2, 0, 50000), At(2, 0, 50000),
       At(0, 0, 20000)},
      {"backward in a gap after it", front, 45000, At(2, 0, 50000), At(2, 0, 50000),
       At(1, 0, 40000)},
      {"backward at the first that is left", front, 30000, At(1, 0, 30000), At(1, 1, 40000),
       kNothing},
      {"backward in a gap, nothing left", front, 25000, At(1, 0, 30000), At(1, 0, 30000), kNothing},
      {"forward at the last that is left", back, 40000, At(1, 1, 40000), kNothing, At(1, 0, 30000)},
      {"forward in a gap, nothing left", back, 45000, kNothing, kNothing, At(0, 0, 20000)},
      {"over two of them", onlyLast, 25000, At(2, 0, 50000), At(2, 0, 50000), kNothing},
      {"backward over two of them", onlyLast, 50000, At(2, 0, 50000), At(2, 1, 60000), kNothing},
      {"holding the time, after the file that has it",
       {a, sameTimes},
       15000,
       At(0, 0, 10000),
       At(0, 1, 20000),
       kNothing},
      {"alone", {noEntries("a")}, 0, kNothing, kNothing, kNothing},
      {"alone, at its start time",
       {noEntries("a")},
       0xFFFFFFFFULL * 1000,
       kNothing,
       kNothing,
       kNothing},
      {"filed first", {noEntries("e"), a}, 15000, At(0, 0, 10000), At(0, 1, 20000), kNothing},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, MultipliesIndexTimesIn64Bits) {
  const std::vector<sFile_Index_Store> file = {FileOf("a", {4000000000, 4000000001}, 0xFFFFFFFF)};
  const LookupCase cases[] = {
      {"at it", file, 4000000000000, At(0, 0, 4000000000000), At(0, 1, 4000000001000), kNothing},
      {"its low 32 bits", file, 4000000000000 & 0xFFFFFFFF, kNothing, kNothing, kNothing},
      {"the last index time", file, 0xFFFFFFFFULL * 1000, At(0, 1, 4000000001000), kNothing,
       At(0, 0, 4000000000000)},
      {"one more", file, 0xFFFFFFFFULL * 1000 + 1, kNothing, kNothing, kNothing},
      {"2^32 more", file, 4000000000000 + (1ULL << 32), At(0, 1, 4000000001000), kNothing,
       At(0, 0, 4000000000000)},
  };
  for (const LookupCase& row : cases) ExpectAnswers(row);
}

TEST(TimeLookup, OfAnyOtherTypeFindsNothing) {
  cZel3Indexer index;
  FileAll(index, {FileOf("a", {10, 20, 30}, 40), FileOf("b", {60, 70})});
  for (const std::uint32_t type : {0U, 3U, 4U, 257U, 0x80000001U, 0xFFFFFFFFU}) {
    for (const bool forward : {false, true}) {
      for (const std::uint64_t time : {10000U, 25000U, 40000U, 50000U, 70000U}) {
        EXPECT_EQ(LookWithType(index, time, type, forward), kNothing) << type << ' ' << time;
      }
    }
  }
}

TEST(TimeLookup, AtOrBeforeHasNoDirection) {
  cZel3Indexer index;
  FileAll(index, {FileOf("a", {10, 20}), FileOf("b", {60, 70})});
  for (const std::uint64_t time : {10000U, 15000U, 20000U, 40000U, 65000U, 80000U}) {
    EXPECT_EQ(LookWithType(index, time, 1, false), LookWithType(index, time, 1, true)) << time;
  }
}

TEST(TimeLookup, LeavesThePreviewBytesAlone) {
  cZel3Indexer index;
  FileAll(index, {FileOf("a", {10, 20})});
  for (const std::uint64_t time : {15000U, 90000U}) {
    TZEL3ChunkInfo info;
    info.preview = 3;
    info.timeReached = 4;
    index.IndexInfoFromTime(time, 1, true, &info);
    EXPECT_EQ(info.preview, 3);
    EXPECT_EQ(info.timeReached, 4);
  }
}

class FileToIndex : public testing::Test {
 protected:
  FileToIndex() {
    FileAll(index, {FileOf("full", {10, 20}), Partial(FileOf("partial", {30, 40})),
                    FileOf("last", {50, 60})});
    index.fileToIndex = Path("as before");
  }

  cZel3Indexer index;
};

TEST_F(FileToIndex, IsTheFileOfTheEntryWhenOnlyItsHeadAndTailAreKnown) {
  Look(index, 35000, Ask::kAtOrBefore);
  EXPECT_EQ(Text(index.fileToIndex), "partial");
}

TEST_F(FileToIndex, IsEmptyWhenTheFileIsIndexed) {
  Look(index, 15000, Ask::kAtOrBefore);
  EXPECT_EQ(Text(index.fileToIndex), "");
}

TEST_F(FileToIndex, FollowsTheEntryAcrossFiles) {
  Look(index, 20000, Ask::kForward);
  EXPECT_EQ(Text(index.fileToIndex), "partial");
  Look(index, 30000, Ask::kBackward);
  EXPECT_EQ(Text(index.fileToIndex), "");
  Look(index, 50000, Ask::kBackward);
  EXPECT_EQ(Text(index.fileToIndex), "partial");
}

TEST_F(FileToIndex, FollowsTheEntryOfAGap) {
  Look(index, 25000, Ask::kForward);
  EXPECT_EQ(Text(index.fileToIndex), "partial");
  Look(index, 45000, Ask::kBackward);
  EXPECT_EQ(Text(index.fileToIndex), "");
}

TEST_F(FileToIndex, StaysWhenNothingIsFound) {
  ASSERT_EQ(Look(index, 60001, Ask::kAtOrBefore), kNothing);
  ASSERT_EQ(Look(index, 60000, Ask::kForward), kNothing);
  ASSERT_EQ(LookWithType(index, 35000, 9, true), kNothing);
  EXPECT_EQ(Text(index.fileToIndex), "as before");
}

}  // namespace
