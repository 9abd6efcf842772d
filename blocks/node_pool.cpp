#include "blocks/node_pool.h"

#include <cstdlib>
#include <new>

chainlist::~chainlist() {
  while (mFirst != nullptr) {
    FreeNode* const next = mFirst->next;
    std::free(mFirst);
    mFirst = next;
  }
}

void* chainlist::Take(std::uint32_t payloadSize) {
  CSingleLock lock(mSection);
  FreeNode* const first = mFirst;
  if (first == nullptr) return nullptr;
  mFirst = first->next;
  if (payloadSize <= first->payloadSize) return first;
  std::free(first);
  return nullptr;
}

void chainlist::PutFront(void* memory, std::uint32_t payloadSize) {
  mFirst = new (memory) FreeNode{mFirst, payloadSize};
}
