#pragma once

#include <cassert>
#include <cstdint>

// Numbers that look random and are the same for a seed in every build.
class RandomNumbers {
 public:
  explicit RandomNumbers(std::uint64_t seed) : mState(seed) {}

  // A step through all 64-bit values, mixed so that neighbours have nothing in common.
  std::uint64_t Next() {
    mState += 0x9E3779B97F4A7C15;
    std::uint64_t mixed = mState;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
    return mixed ^ mixed >> 31;
  }

  // 0 to `count` - 1. REQUIRES: `count` is not 0.
  std::uint64_t Below(std::uint64_t count) {
    assert(count != 0);
    return Next() % count;
  }

 private:
  std::uint64_t mState;
};
