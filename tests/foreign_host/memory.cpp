#include <sched.h>

#include <cstdlib>
#include <new>

#include "counters.h"
#include "sdk/mem_block.h"

// Locks, blocks and their nodes.

namespace {

constexpr unsigned long kFree = 0x51A7E5A3;
constexpr unsigned long kTaken = 0x7EA5E00D;

long liveNodes = 0;

}  // namespace

long LiveNodes() {
  return liveNodes;
}

CCriticalSection::CCriticalSection() {
  for (unsigned long& word : mWords) word = kFree;
}

// Destroying a lock that is held, destroying one twice, or writing into one ends the process.
CCriticalSection::~CCriticalSection() {
  for (unsigned long& word : mWords) {
    if (word != kFree) std::abort();
    word = 0;
  }
}

void CCriticalSection::Lock() {
  for (;;) {
    const unsigned long before = __sync_val_compare_and_swap(&mWords[0], kFree, kTaken);
    if (before == kFree) return;
    if (before != kTaken) std::abort();
    sched_yield();
  }
}

void CCriticalSection::Unlock() {
  if (!__sync_bool_compare_and_swap(&mWords[0], kTaken, kFree)) std::abort();
}

cMemBlock::node::node() : refCount(1), type(0), size(0) {
  __sync_add_and_fetch(&liveNodes, 1);
}

cMemBlock::node::~node() {
  __sync_sub_and_fetch(&liveNodes, 1);
}

cMemBlock::node* cMemBlock::node::ref() {
  const CSingleLock hold(lock);
  ++refCount;
  return this;
}

void cMemBlock::node::unref() {
  lock.Lock();
  const unsigned left = --refCount;
  lock.Unlock();
  if (left == 0) delete[] this;
}

cMemBlock::node& cMemBlock::mDefNode = *new cMemBlock::node[1];

cMemBlock::cMemBlock() : mNode(mDefNode.ref()) {}
cMemBlock::cMemBlock(const cMemBlock& other) : mNode(other.mNode->ref()) {}
cMemBlock::~cMemBlock() {
  mNode->unref();
}
cMemBlock& cMemBlock::operator=(const cMemBlock& other) {
  node* const before = mNode;
  mNode = other.mNode->ref();
  before->unref();
  return *this;
}

void* cMemBlock::GetData() {
  return nullptr;
}
const void* cMemBlock::GetData() const {
  return nullptr;
}
unsigned cMemBlock::GetExtraSize() const {
  return 0;
}
