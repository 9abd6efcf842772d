#include "messages.h"

namespace {

// True for the last reference.
bool GiveBack(cMemBlock::node& node) {
  const CSingleLock hold(node.lock);
  return --node.refCount == 0;
}

}  // namespace

void DataNode::unref() {
  if (!GiveBack(*this)) return;
  this->~DataNode();
  std::free(this);
}

void CommandNode::unref() {
  if (!GiveBack(*this)) return;
  delete[] route;
  this->~CommandNode();
  std::free(this);
}
