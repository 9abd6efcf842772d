#pragma once

#include <cxxabi.h>

// Runs `work`; false when it has thrown. No exception may leave a brick, but the cancellation of a
// thread unwinds like one, and a thread whose cancellation is swallowed ends the process. A
// cancellation has no object, which the sanitizer of null references must not mind.
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

// Runs `work` until it does not throw, a few times at most; false when it has always thrown. For
// work that goes on where it has failed: a single refusal of memory then has no effect.
template <class Work>
bool TryAFewTimes(const Work& work) {
  constexpr int kTimes = 3;
  for (int time = 0; time < kTimes; ++time) {
    if (Contain(work)) return true;
  }
  return false;
}
