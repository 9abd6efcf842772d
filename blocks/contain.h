#pragma once

#include <cxxabi.h>

// Runs `work`; false when it threw. No exception may leave a brick, but the cancellation of a
// thread unwinds like one, and swallowing it ends the process. A cancellation has no exception
// object, so the sanitizer must not check for a null reference here.
template <class Work>
__attribute__((no_sanitize("null"))) bool Contain(const Work& work) {
  try {
    work();
    return true;
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return false;
  }
}

// Runs `work` until it does not throw, a few times at most; false when it threw each time. For work
// that resumes where it failed: a single failed allocation then has no effect.
template <class Work>
bool TryAFewTimes(const Work& work) {
  constexpr int kTimes = 3;
  for (int time = 0; time < kTimes; ++time) {
    if (Contain(work)) return true;
  }
  return false;
}
