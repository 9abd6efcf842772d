#pragma once

// Until the end of a scope some allocations of this thread fail: those with `new` throw, those with
// malloc, calloc and realloc return null, even those that libraries make.
class ScarceMemory {
 public:
  enum Refusal { kOnce, kFromThenOn };

  // `allocations` succeed. The next one is refused, or all from there on.
  explicit ScarceMemory(int allocations, Refusal refusal = kFromThenOn);
  ~ScarceMemory();
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;

  // How many allocations have been refused so far in this scope. 0 means that nothing was short.
  int Refused() const;
};
