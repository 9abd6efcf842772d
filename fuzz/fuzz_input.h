#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/temp_folder.h"

// The bytes of one fuzzing input, taken from front to back. Past their end all bytes are zero.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* bytes, std::size_t size) : mBytes(bytes), mLeft(size) {}

  bool IsEmpty() const { return mLeft == 0; }

  std::uint8_t Byte() {
    if (mLeft == 0) return 0;
    --mLeft;
    return *mBytes++;
  }
  // A little-endian number of `width` bytes.
  std::uint64_t Number(unsigned width) {
    std::uint64_t number = 0;
    for (unsigned i = 0; i < width; ++i) number |= std::uint64_t{Byte()} << (8 * i);
    return number;
  }
  // At most `size` bytes.
  Bytes Take(std::size_t size) {
    const std::size_t count = std::min(size, mLeft);
    const Bytes taken(mBytes, mBytes + count);
    mBytes += count;
    mLeft -= count;
    return taken;
  }
  Bytes Rest() { return Take(mLeft); }
  std::string RestAsText() {
    const Bytes rest = Rest();
    return std::string(rest.begin(), rest.end());
  }

 private:
  const std::uint8_t* mBytes;
  std::size_t mLeft;
};

// What must hold for every input.
#define FUZZ_REQUIRE(condition)                                                         \
  do {                                                                                  \
    if (condition) break;                                                               \
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
    std::abort();                                                                       \
  } while (false)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
