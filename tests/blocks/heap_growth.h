#pragma once

#include <malloc.h>

// By how many bytes the heap of the process grows while `action` runs. The action runs once before
// that, because the allocator keeps some of what is freed. 0 where a sanitizer brings its own heap,
// and reports leaks itself.
template <class Action>
long HeapGrowthOf(const Action& action) {
  action();
  const auto before = static_cast<long>(mallinfo2().uordblks);
  action();
  return static_cast<long>(mallinfo2().uordblks) - before;
}

// The allocator may keep chunks of other sizes than before in use.
constexpr long kHeapNoise = 4096;
