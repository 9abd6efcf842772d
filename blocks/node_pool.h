#pragma once

#include <cstdint>

#include "sdk/critical_section.h"

// The pool of one type of data node: the memory of released nodes, chained for reuse.
//
// Only the memory is kept: a pooled node has been destroyed. Its payload size is recorded here,
// because nothing of a destroyed node may be read.
class chainlist {
 public:
  chainlist() = default;
  chainlist(const chainlist&) = delete;
  chainlist& operator=(const chainlist&) = delete;
  // Frees every pooled node.
  ~chainlist();

  // The memory of the first pooled node if that was released with at least `payloadSize` payload
  // bytes; null when the pool is empty or that node is too small, which is then freed. The memory
  // becomes the caller's.
  void* Take(std::uint32_t payloadSize);

  // Puts the memory of a destroyed node at the front. It must come from malloc and be larger than a
  // FreeNode, as every node is. Takes the memory. REQUIRES: Section() is held by the caller.
  void PutFront(void* memory, std::uint32_t payloadSize);

  CCriticalSection& Section() { return mSection; }

 private:
  struct FreeNode {
    FreeNode* next;
    std::uint32_t payloadSize;
  };

  CCriticalSection mSection;
  FreeNode* mFirst = nullptr;  // guarded by mSection
};
