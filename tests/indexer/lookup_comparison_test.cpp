#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "stores_for_tests.h"
#include "support/plain_time_index.h"

// Whatever is filed, in whatever order, lookups answer as the plain walk does.

namespace {

// Small numbers, so that files overlap, meet, are replaced and have equal times.
PlainStore RandomFile(std::mt19937& random, bool ascending) {
  PlainStore file;
  file.name = std::string(1, static_cast<char>('a' + random() % 8));
  file.partial = random() % 2 == 0;
  const std::uint32_t from = random() % 60;
  for (std::size_t count = random() % 6; count > 0; --count)
    file.times.push_back(from + random() % 20);
  if (ascending) std::sort(file.times.begin(), file.times.end());
  file.start = 0xFFFFFFFF;
  file.end = 0;
  for (const std::uint32_t time : file.times) {
    file.start = std::min(file.start, time);
    file.end = std::max(file.end, time);
  }
  if (random() % 3 == 0) {
    file.start = from;
    file.end = from + 22;
  }
  return file;
}

sFile_Index_Store StoreOf(const PlainStore& file) {
  sFile_Index_Store store = FileOf(file.name, file.times, file.end);
  store.startTime = file.start;
  store.partial = file.partial;
  return store;
}

// What a lookup leaves in fileToIndex.
std::string ExpectedFileToIndex(const PlainTimeIndex& plain, const Answer& answer) {
  if (!answer.found) return "as before";
  const PlainStore& file = plain.Files()[static_cast<std::size_t>(answer.file)];
  return file.partial ? file.name : "";
}

void CompareAtAllTimes(cZel3Indexer& index, const PlainTimeIndex& plain) {
  for (std::uint64_t time = 0; time <= 90000; time += 500) {
    for (const Ask ask : kAllAsks) {
      const Answer expected = plain.Find(time, ask);
      index.fileToIndex = Path("as before");
      ASSERT_EQ(Look(index, time, ask), expected) << ask << ' ' << time;
      ASSERT_EQ(Text(index.fileToIndex), ExpectedFileToIndex(plain, expected))
          << ask << ' ' << time;
    }
  }
}

class LookupComparison : public testing::TestWithParam<bool> {};

TEST_P(LookupComparison, AnswersAsThePlainWalk) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    cZel3Indexer index;
    PlainTimeIndex plain;
    for (std::size_t count = random() % 12; count > 0; --count) {
      const PlainStore file = RandomFile(random, GetParam());
      index.Add_file_index(StoreOf(file));
      plain.File(file);
    }
    Texts names;
    for (const PlainStore& file : plain.Files()) names.push_back(file.name);
    ASSERT_EQ(FileNames(index), names);
    CompareAtAllTimes(index, plain);
    if (HasFatalFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Times, LookupComparison, testing::Bool(), [](const auto& parameter) {
  return parameter.param ? "Ascending" : "AnyOrder";
});

}  // namespace
