#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "counters.h"

// The host's allocation. Code that runs on in a deleted object reads nonsense, and what it writes
// is noticed.

namespace {

constexpr unsigned char kGone = 0xDB;

void* watched = nullptr;
unsigned char* kept = nullptr;
std::size_t keptSize = 0;

}  // namespace

void KeepWhenDeleted(void* object) {
  watched = object;
}

bool IsKeptUntouched() {
  if (kept == nullptr) return false;
  const bool untouched =
      std::all_of(kept, kept + keptSize, [](unsigned char byte) { return byte == kGone; });
  std::free(kept);
  kept = nullptr;
  return untouched;
}

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* object) noexcept {
  std::free(object);
}

void operator delete(void* object, std::size_t size) noexcept {
  if (object == nullptr || object != watched) {
    std::free(object);
    return;
  }
  watched = nullptr;
  kept = static_cast<unsigned char*>(object);
  keptSize = size;
  std::memset(kept, kGone, size);
}
