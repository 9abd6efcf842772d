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

void* cCommandNode::Allocate(std::size_t nodeSize, std::size_t payloadSize) {
  if (payloadSize > std::numeric_limits<std::size_t>::max() - nodeSize) throw std::bad_alloc();
  void* const memory = std::calloc(1, nodeSize + payloadSize);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
