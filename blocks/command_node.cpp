#include "blocks/command_node.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

bool cCommandNode::MarkHandledBy(CBrick* brick) {
  CSingleLock hold(routeLock);
  CBrick** const end = route + routeCount;
  if (std::find(route, end, brick) != end) return false;
  if (routeCount >= routeCapacity) {
    CBrick** const larger = new CBrick*[routeCapacity + kRouteGrowth];
    std::copy(route, end, larger);
    delete[] route;
    route = larger;
    routeCapacity += kRouteGrowth;
  }
  route[routeCount++] = brick;
  return true;
}

// A record sets its own bytes; only extra bytes must be zeros.
void* cCommandNode::Allocate(std::size_t nodeAndRecordSize, std::size_t extraSize) {
  if (extraSize > std::numeric_limits<std::size_t>::max() - nodeAndRecordSize)
    throw std::bad_alloc();
  void* const memory = extraSize == 0 ? std::malloc(nodeAndRecordSize)
                                      : std::calloc(1, nodeAndRecordSize + extraSize);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
