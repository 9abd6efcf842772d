#include "scarce_memory.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kUnlimited = -1;
thread_local int allocationsLeft = kUnlimited;

void* Allocate(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

ScarceMemory::ScarceMemory(int allocations) {
  allocationsLeft = allocations;
}

ScarceMemory::~ScarceMemory() {
  allocationsLeft = kUnlimited;
}

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
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
