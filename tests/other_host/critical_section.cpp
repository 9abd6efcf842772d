#include "sdk/critical_section.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

// The lock of another host: waits without sleeping, and knows neither zeros nor ones.

namespace {

using State = std::atomic<std::uint32_t>;
constexpr std::uint32_t kFree = 0xF3EEF3EE;
constexpr std::uint32_t kTaken = 0x7A4E7A4E;
constexpr std::size_t kStates = sizeof(CCriticalSection) / sizeof(State);

State* StatesIn(unsigned char* storage) {
  return std::launder(reinterpret_cast<State*>(storage));
}

}  // namespace

CCriticalSection::CCriticalSection() {
  for (std::size_t i = 0; i < kStates; ++i) new (mStorage + i * sizeof(State)) State(kFree);
}

CCriticalSection::~CCriticalSection() {
  for (std::size_t i = 0; i < kStates; ++i) {
    if (StatesIn(mStorage)[i] != kFree) std::abort();
  }
}

void CCriticalSection::Lock() {
  for (std::uint32_t before = kTaken; before != kFree;) {
    before = StatesIn(mStorage)->exchange(kTaken);
    if (before != kFree && before != kTaken) std::abort();
  }
}

void CCriticalSection::Unlock() {
  if (StatesIn(mStorage)->exchange(kFree) != kTaken) std::abort();
}
