#include "indexer/store_list.h"

#include <gmock/gmock.h>

#include <new>

#include "stores_for_tests.h"
#include "support/lookup_answer.h"
#include "support/sanitized.h"
#include "support/scarce_memory.h"

// What follows from the files is true of them after every change.

namespace {

using testing::ElementsAre;

std::vector<bool> Flags(const StoreOrder& order) {
  return {order.entriesAscend, order.headersAscend, order.cutsAscend};
}

struct OrderCase {
  const char* what;
  std::vector<std::uint32_t> times;
  std::vector<std::uint64_t> headers;
  std::vector<std::uint64_t> cuts;
  std::vector<bool> ascend;
};

TEST(StoreOrder, IsThatOfEachListByItself) {
  const OrderCase cases[] = {
      {"empty", {}, {}, {}, {true, true, true}},
      {"one of each", {5}, {5}, {5}, {true, true, true}},
      {"ascending", {1, 2, 3}, {4, 5}, {6, 7, 8}, {true, true, true}},
      {"equal", {2, 2}, {4, 4}, {6, 6}, {true, true, true}},
      {"times fall", {1, 3, 2}, {4, 5}, {6, 7}, {false, true, true}},
      {"headers fall", {1, 2}, {5, 4}, {6, 7}, {true, false, true}},
      {"cuts fall", {1, 2}, {4, 5}, {7, 6}, {true, true, false}},
  };
  for (const OrderCase& row : cases) {
    SCOPED_TRACE(row.what);
    sFile_Index_Store store = FileOf("a", row.times);
    store.headerPositions = AsPositions(row.headers);
    store.blockPositions = AsPositions(row.cuts);
    EXPECT_EQ(Flags(OrderOf(store)), row.ascend);
    cZel3Indexer index;
    index.Add_file_index(store);
    EXPECT_EQ(Flags(index.Files()[0].order), row.ascend);
  }
}

TEST(StoreOrder, OfALoadedStoreIsThatOfItsEntries) {
  sFile_Index_Store store;
  for (const bool times : {false, true}) {
    for (const bool positions : {false, true})
      EXPECT_EQ(Flags(OrderOfLoaded(store, {times, positions})), Flags({times, true, positions}));
  }
  store.headerPositions = {5, 4};
  EXPECT_EQ(Flags(OrderOfLoaded(store, {true, true})), Flags({true, false, true}));
}

// Each change shows in the next lookup: a new file, another one before it, a replacement.
TEST(StoreList, IsLookedUpAsItIsNow) {
  cZel3Indexer index;
  EXPECT_EQ(Look(index, 35000, Ask::kAtOrBefore), kNothing);
  index.Add_file_index(FileOf("b", {30, 40}));
  EXPECT_EQ(Look(index, 35000, Ask::kAtOrBefore), At(0, 0, 30000));
  index.Add_file_index(FileOf("a", {10, 20}));
  EXPECT_EQ(Look(index, 35000, Ask::kAtOrBefore), At(1, 0, 30000));
  index.Add_file_index(FileOf("b", {34, 35, 40}));
  EXPECT_EQ(Look(index, 35000, Ask::kAtOrBefore), At(1, 1, 35000));
  index.Add_file_index(FileOf("b", {33, 40, 32, 31, 30}));
  EXPECT_EQ(Look(index, 35000, Ask::kForward), At(1, 1, 40000)) << "its times do not ascend";
}

// Whatever allocation fails: the file is listed, or the list is as before. Listed anew, it is
// found.
TEST(StoreList, IsAsBeforeWhenMemoryFails) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers bring their own allocation";
  sFile_Index_Store late = FileOf("late", {50, 60});
  late.blockPositions.reserve(100);
  late.blockPositions.append(7);
  const sFile_Index_Store early = FileOf("early", {1, 2});
  for (const sFile_Index_Store& store : {late, early}) {
    bool refused = true;
    for (int allocations = 0; refused; ++allocations) {
      SCOPED_TRACE(allocations);
      cZel3Indexer index;
      for (int i = 0; i < 40; ++i)
        index.Add_file_index(FileOf(std::to_string(i), {static_cast<std::uint32_t>(10 + i)}));
      const Texts before = FileNames(index);
      {
        const ScarceMemory memory(allocations, ScarceMemory::kOnce);
        try {
          index.Add_file_index(store);
        } catch (const std::bad_alloc&) {
        }
        refused = memory.Refused() > 0;
      }
      if (refused) {
        EXPECT_EQ(FileNames(index), before);
      }
      for (int times = 0; times < 2; ++times) {
        index.Add_file_index(store);
        EXPECT_EQ(index.Files().size(), before.size() + 1);
      }
      const std::uint64_t time = ToArchiveTime(store.startTime);
      EXPECT_TRUE(Look(index, time, Ask::kAtOrBefore).found);
    }
  }
}

}  // namespace
