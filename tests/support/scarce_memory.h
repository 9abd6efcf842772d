#pragma once

// Until the end of a scope only so many more allocations with `new` succeed; all others throw.
class ScarceMemory {
 public:
  explicit ScarceMemory(int allocations);
  ~ScarceMemory();
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;
};
