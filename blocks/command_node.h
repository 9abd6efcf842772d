#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "sdk/mem_block.h"

class CBrick;

// The node of a command: carries the list of bricks that have already handled it, for commands that
// travel through several bricks. The payload follows. Never pooled.
//
// What needs the table of virtual functions is inline: modules with and without types at run time
// are linked with the same library, and each makes a table of its own.
class cCommandNode : public cMemBlock::node {
 public:
  // Adds `brick` to the list unless it is there. True when it was not: then the brick is to handle
  // the command. Throws std::bad_alloc, the list unchanged.
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

  CBrick** route;  // guarded by routeLock, as the two counts
  std::uint32_t routeCount = 0;
  std::uint32_t routeCapacity = kRouteGrowth;
  CCriticalSection routeLock;

  // Room of a new list, and the step by which a full one grows.
  static constexpr std::uint32_t kRouteGrowth = 10;

 protected:
  cCommandNode() : route(new CBrick*[kRouteGrowth]) {}
  ~cCommandNode() override = default;

  // Memory for a node with its record, which set their bytes, and for zeroed bytes after them.
  // Throws std::bad_alloc.
  static void* Allocate(std::size_t nodeAndRecordSize, std::size_t extraSize);
};
