#include "support/scarce_memory.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

// The state of the scope that this thread is in; without a scope nothing is counted. Reaching it
// takes no memory, not even the first time.
struct Scope {
  bool active;
  bool onlyOnce;
  int allocationsLeft;
  int refused;
};
thread_local Scope scope;

bool IsRefused() {
  if (!scope.active) return false;
  if (scope.allocationsLeft > 0) {
    --scope.allocationsLeft;
    return false;
  }
  if (scope.onlyOnce && scope.refused > 0) return false;
  ++scope.refused;
  errno = ENOMEM;
  return true;
}

}  // namespace

ScarceMemory::ScarceMemory(int allocations, Refusal refusal) {
  scope = {true, refusal == kOnce, allocations, 0};
}

ScarceMemory::~ScarceMemory() {
  scope.active = false;
}

int ScarceMemory::Refused() const {
  return scope.refused;
}

#ifdef SCARCE_MEMORY_OF_NEW_ONLY

// A sanitizer has its own malloc, which must stay; only `new` can be refused.
namespace {

void* Allocate(std::size_t size) {
  void* const memory = IsRefused() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return IsRefused() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return IsRefused() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

#else

// The allocator of the C library, under the names that nobody replaces.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

// These take the place of the C library's functions in all libraries of the program, and `new` goes
// through them, too. Libraries see them, whatever the build hides.
#define FOR_ALL_LIBRARIES extern "C" __attribute__((visibility("default")))

FOR_ALL_LIBRARIES void* malloc(std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_malloc(size);
}

FOR_ALL_LIBRARIES void* calloc(std::size_t count, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_calloc(count, size);
}

FOR_ALL_LIBRARIES void* realloc(void* memory, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_realloc(memory, size);
}

#endif
