#pragma once

#include <malloc.h>

// By how many bytes the heap of the process grows while `action` runs. The action runs once before
// that, because the allocator keeps some of what is freed. 0 where a sanitizer brings a heap of its
// own, which then tells of leaks itself.
template <class Action>
long HeapGrowthOf(const Action& action) {
  action();
  const auto before = static_cast<long>(mallinfo2().uordblks);
  action();
  return static_cast<long>(mallinfo2().uordblks) - before;
}

// Chunks of other sizes than before may be left in use by the allocator.
constexpr long kHeapNoise = 4096;
