#include <algorithm>
#include <random>

#include "loaded_cache.h"

// Any bytes in the cache files are loaded as the plain rules say, and every question about them has
// the answer of the plain walk.

namespace {

// Bytes of a few values make many small numbers and short texts, bytes of any value few.
Bytes RandomBytes(std::mt19937& random, std::size_t maximum, std::size_t values) {
  Bytes bytes(random() % (maximum + 1));
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() % values);
  return bytes;
}

class RandomCache : public LoadedCache, public testing::WithParamInterface<std::size_t> {};

TEST_P(RandomCache, IsLoadedByThePlainRules) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Bytes id3 = RandomBytes(random, 12 * 24, GetParam());
    const Bytes hdr = RandomBytes(random, 12 * 8, GetParam());
    const Bytes evt = RandomBytes(random, 200, GetParam());
    ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(id3, hdr, evt));
  }
}

INSTANTIATE_TEST_SUITE_P(Values, RandomCache, testing::Values(2, 3, 16, 256),
                         [](const auto& parameter) {
                           return "OutOf" + std::to_string(parameter.param);
                         });

// Thousands of entries with hundreds of headers. The time and the position of the next entry each
// rise by less than `rise` or, once in `fallsOnceIn` (0: never), fall by less than `fall`.
struct LongFile {
  const char* name;
  unsigned fallsOnceIn;
  std::uint32_t rise;
  std::uint32_t fall;
  std::uint32_t start;
};

void PrintTo(const LongFile& file, std::ostream* stream) {
  *stream << file.name;
}

class LongCache : public LoadedCache, public testing::WithParamInterface<LongFile> {
 protected:
  std::uint32_t Next(std::uint32_t value, std::mt19937& random) const {
    const LongFile& file = GetParam();
    const bool falls = file.fallsOnceIn > 0 && random() % file.fallsOnceIn == 0;
    return falls ? value - random() % file.fall : value + random() % file.rise;
  }
};

TEST_P(LongCache, IsLoadedByThePlainRules) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<EntryBytes> entries(1000 + random() % 9000);
    std::vector<std::uint64_t> headers;
    std::uint32_t time = GetParam().start;
    std::uint32_t position = GetParam().start;
    for (EntryBytes& entry : entries) {
      time = Next(time, random);
      position = Next(position, random);
      entry = {time, position};
      if (random() % 30 == 0) headers.push_back(position - random() % 3);
    }
    if (seed % 2 == 0) std::shuffle(headers.begin(), headers.end(), random);
    const std::uint64_t ends[] = {9000, position, position + 1000ULL, ~0ULL};
    ASSERT_NO_FATAL_FAILURE(
        ExpectLoadedByThePlainRules(Id3File(entries), HdrFile(headers), {}, ends[seed % 4]));
  }
}

INSTANTIATE_TEST_SUITE_P(Files, LongCache,
                         testing::Values(LongFile{"Ascending", 0, 10, 1, 100000},
                                         LongFile{"RisingByOne", 0, 2, 1, 100000},
                                         LongFile{"RisingByTwo", 0, 3, 1, 100000},
                                         LongFile{"Equal", 0, 1, 1, 100000},
                                         LongFile{"SeldomFalling", 3000, 10, 20, 100000},
                                         LongFile{"SometimesFalling", 1000, 10, 200, 100000},
                                         LongFile{"OftenFalling", 10, 100, 200, 100000},
                                         LongFile{"Unsorted", 2, 1000000, 1000000, 100000},
                                         LongFile{"Wrapping", 0, 2000000, 1, 0xFFF00000},
                                         LongFile{"WrappingOnce", 0, 1000, 1, 0xFFFF0000}),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
