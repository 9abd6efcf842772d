#include "sdk/mem_block.h"

#include <atomic>
#include <new>

namespace {

std::atomic<long> liveNodes{0};

}  // namespace

cMemBlock::node& cMemBlock::mDefNode = []() -> cMemBlock::node& {
  alignas(cMemBlock::node) static unsigned char memory[sizeof(cMemBlock::node)];
  return *new (memory) cMemBlock::node();
}();

cMemBlock::cMemBlock() : mNode(mDefNode.ref()) {}

cMemBlock::cMemBlock(const cMemBlock& other) : mNode(other.mNode->ref()) {}

cMemBlock& cMemBlock::operator=(const cMemBlock& other) {
  // In this order, so that a node with one reference survives self-assignment.
  node* const taken = other.mNode->ref();
  mNode->unref();
  mNode = taken;
  return *this;
}

// A block that was moved out of a queue leaves a handle without a node.
cMemBlock::~cMemBlock() {
  if (mNode != nullptr) mNode->unref();
}

void* cMemBlock::GetData() {
  return nullptr;
}
const void* cMemBlock::GetData() const {
  return nullptr;
}
std::uint32_t cMemBlock::GetExtraSize() const {
  return 0;
}

cMemBlock::node::node() {
  ++liveNodes;
}
cMemBlock::node::~node() {
  --liveNodes;
}

cMemBlock::node* cMemBlock::node::ref() {
  CSingleLock hold(lock);
  ++refCount;
  return this;
}

void cMemBlock::node::unref() {
  lock.Lock();
  const bool last = --refCount == 0;
  lock.Unlock();
  if (last) delete[] this;
}

long cMemBlock::node::LiveCount() {
  return liveNodes;
}
