#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "sdk/mem_block.h"

class CBrick;

// The node of a command: carries the list of bricks that have already handled it, for commands that
// travel through several bricks. The payload follows. Never pooled.
//
// Whatever needs the virtual table is inline: modules with and without run-time type information
// are linked with the same library, and each makes its own table.
class cCommandNode : public cMemBlock::node {
 public:
  // Adds `brick` to the list unless it is there. True when it was added: then the brick is to
  // handle the command. Throws std::bad_alloc, leaving the list unchanged.
  bool MarkHandledBy(CBrick* brick);

  void unref() override {
    lock.Lock();
    const bool last = --refCount == 0;
    lock.Unlock();
    if (!last) return;
    delete[] route;
    this->~cCommandNode();
    std::free(this);
  }

  CBrick** route;  // guarded by routeLock, like the two counts
  std::uint32_t routeCount = 0;
  std::uint32_t routeCapacity = kRouteGrowth;
  CCriticalSection routeLock;

  // The capacity of a new list, and the step by which a full one grows.
  static constexpr std::uint32_t kRouteGrowth = 10;

 protected:
  cCommandNode() : route(new CBrick*[kRouteGrowth]) {}
  ~cCommandNode() override = default;

  // Memory for a node and its record, which set their own bytes, and for zeroed bytes after them.
  // Throws std::bad_alloc.
  static void* Allocate(std::size_t nodeAndRecordSize, std::size_t extraSize);
};
