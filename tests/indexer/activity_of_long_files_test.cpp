#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

#include "gist_buffer.h"
#include "plain_activity.h"
#include "stores_for_tests.h"

// Archives of thousands of entries in several files, asked with thousands of bins, against painting
// entry by entry.

namespace {

using Random = std::mt19937;

constexpr std::uint32_t kLatest = std::numeric_limits<std::uint32_t>::max();

std::uint32_t Below(std::uint32_t limit, Random& random) {
  return static_cast<std::uint32_t>(random() % limit);
}

template <class Value>
Value OneOf(std::initializer_list<Value> values, Random& random) {
  return values.begin()[Below(static_cast<std::uint32_t>(values.size()), random)];
}

// One in `of`.
bool Sometimes(std::uint32_t of, Random& random) {
  return Below(of, random) == 0;
}

// The archive as a test describes it.
struct Recording {
  std::uint32_t firstTime;
  std::uint32_t latestFile;    // how far the start of a file may lie from the end of the one before
  bool overlaps;               // backward, not forward
  std::uint32_t outOfOrder;    // one file in so many has times that do not ascend; 0: none
  bool startsAreKnown = true;  // otherwise files stand in the order in which they are listed
};

// Up to six of them, so that streams lie in any pair; counts may say more than there are.
void AddPairs(Random& random, ZEL_ID3_REC* entry) {
  const std::uint32_t count = Below(7, random);
  entry->activityCount = static_cast<std::uint8_t>(Sometimes(20, random) ? 7 + count * 40 : count);
  for (TActivityPair& pair : entry->activity) {
    pair.streamId = static_cast<std::uint8_t>(Below(8, random));
    pair.level = static_cast<std::uint8_t>(Below(256, random));
  }
}

sFile_Index_Store FileFrom(std::uint32_t time, Random& random) {
  sFile_Index_Store store = FileOf("", {});
  const std::uint32_t step = OneOf({0U, 1U, 1U, 2U, 3U, 10U, 500U}, random);
  const std::uint32_t jitter = OneOf({1U, 1U, 2U, 4U, 50U}, random);
  store.indexInterval =
      OneOf({0U, 1U, step, step, step + 1, 2 * step, 100U, 5000U, kLatest, kLatest - 3}, random);
  const std::uint32_t count = OneOf({1U, 2U, 30U, 1000U, 3000U}, random);
  for (std::uint32_t i = 0; i < count; ++i) {
    ZEL_ID3_REC entry = EntryAt(time);
    AddPairs(random, &entry);
    store.id3Records.append(entry);
    std::uint32_t distance = step + Below(jitter, random);
    if (Sometimes(300, random)) distance += 1000;
    time += std::min(distance, kLatest - time);
  }
  return store;
}

void DisturbOrder(Random& random, QVector<ZEL_ID3_REC>* entries) {
  if (Sometimes(3, random)) return std::shuffle(entries->begin(), entries->end(), random);
  const auto count = static_cast<std::uint32_t>(entries->size());
  for (int swaps = 1 + static_cast<int>(Below(3, random)); swaps > 0; --swaps) {
    const auto one = static_cast<int>(Below(count, random));
    const auto other = static_cast<int>(Below(count, random));
    std::swap((*entries)[one].time, (*entries)[other].time);
  }
}

void FileRecording(const Recording& recording, Random& random, cZel3Indexer* index) {
  std::uint32_t time = recording.firstTime;
  for (std::uint32_t file = 0, count = 1 + Below(6, random); file < count; ++file) {
    sFile_Index_Store store = FileFrom(time, random);
    store.fileName = Path(std::to_string(file));
    time = store.id3Records.back().time;
    if (recording.startsAreKnown) store.startTime = store.id3Records.front().time;
    if (recording.outOfOrder > 0 && Sometimes(recording.outOfOrder, random))
      DisturbOrder(random, &store.id3Records);
    index->Add_file_index(store);
    const std::uint32_t distance = Below(recording.latestFile, random);
    time = recording.overlaps ? time - std::min(distance, time)
                              : time + std::min(distance, kLatest - time);
  }
}

// At an entry, or shortly before or after one.
std::uint64_t TimeNearAnEntry(const StoreList::Stores& files, Random& random) {
  const auto& entries = files[Below(static_cast<std::uint32_t>(files.size()), random)].id3Records;
  const auto number = static_cast<int>(Below(static_cast<std::uint32_t>(entries.size()), random));
  const std::uint64_t time = std::uint64_t{entries[number].time} * 1000;
  const std::uint64_t away =
      OneOf({0ULL, 0ULL, 1ULL, 500ULL, 999ULL, 1000ULL, 1001ULL, 100'000ULL}, random);
  return Sometimes(2, random) ? time + away : time - std::min(away, time);
}

TZEL3ActivityRequest RandomRequest(const StoreList::Stores& files, Random& random) {
  std::uint64_t from = TimeNearAnEntry(files, random);
  std::uint64_t to = TimeNearAnEntry(files, random);
  if (to < from && !Sometimes(10, random)) std::swap(from, to);
  if (Sometimes(10, random)) to = from + OneOf({1ULL, 999ULL, 1000ULL, 30'000ULL}, random);
  if (Sometimes(20, random)) from = 0;
  if (Sometimes(20, random)) to = OneOf({~0ULL, ~0ULL - 1000, 5'000'000'000'000ULL}, random);
  std::uint32_t bins = OneOf({1U, 2U, 3U, 10U, 100U, 1U + Below(5000, random)}, random);
  // As many bins as there are units of time, and so around where fine bins begin.
  const std::uint64_t units = (to - from) / 1000;
  if (units > 0 && units < 5000 && !Sometimes(4, random))
    bins = static_cast<std::uint32_t>(units) * OneOf({1U, 1U, 2U, 3U}, random) + Below(3, random);
  return Span(from, to, static_cast<std::int32_t>(bins),
              static_cast<std::int32_t>(Below(9, random)));
}

// Returns how many answers came from entries.
int CompareAll(const Recording& recording, int archives) {
  int found = 0;
  for (int seed = 1; seed <= archives; ++seed) {
    SCOPED_TRACE(seed);
    Random random(static_cast<unsigned>(seed));
    cZel3Indexer index;
    FileRecording(recording, random, &index);
    for (int i = 0; i < 12; ++i) {
      const TZEL3ActivityRequest request = RandomRequest(index.Files(), random);
      const ActivityAnswer expected = PlainActivity(index.Files(), request);
      const ActivityAnswer answer = ActivityOf(index, request);
      EXPECT_EQ(answer.found, expected.found);
      EXPECT_TRUE(answer.levels == expected.levels)
          << "from " << std::uint64_t{request.from} << " to " << std::uint64_t{request.to} << ", "
          << std::int32_t{request.binCount} << " bins, first other bin "
          << std::mismatch(answer.levels.begin(), answer.levels.end(), expected.levels.begin())
                     .first -
                 answer.levels.begin();
      if (testing::Test::HasFailure()) return found;
      found += expected.found ? 1 : 0;
    }
  }
  return found;
}

constexpr int kArchives = 60;

class ActivityOfLongFiles : public testing::TestWithParam<std::pair<const char*, Recording>> {};

TEST_P(ActivityOfLongFiles, IsWhatThePlainRulePaints) {
  EXPECT_GT(CompareAll(GetParam().second, kArchives), kArchives * 12 / 2)
      << "most requests should be answered from entries";
}

INSTANTIATE_TEST_SUITE_P(
    , ActivityOfLongFiles,
    testing::Values(std::pair("OneAfterTheOther", Recording{1'714'521'600, 1, false, 0}),
                    std::pair("WithGaps", Recording{1'714'521'600, 3000, false, 0}),
                    std::pair("Overlapping", Recording{1'714'521'600, 1500, true, 0}),
                    std::pair("InAnyOrder", Recording{1'714'521'600, 3000, true, 0, false}),
                    std::pair("SomeOutOfOrder", Recording{1'714'521'600, 1, false, 3}),
                    std::pair("AllOutOfOrder", Recording{1'714'521'600, 100, false, 1}),
                    std::pair("OverlappingAndSomeOutOfOrder",
                              Recording{1'714'521'600, 1500, true, 3}),
                    std::pair("FromTheFirstIndexTime", Recording{0, 500, false, 6}),
                    std::pair("ToTheLastIndexTime", Recording{kLatest - 4000, 500, false, 6})),
    [](const auto& test) { return std::string(test.param.first); });

}  // namespace
