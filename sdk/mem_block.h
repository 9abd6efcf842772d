#pragma once

#include <cstdint>

#include "sdk/critical_section.h"
#include "sdk/sdk_export.h"

// A shared handle on a reference-counted node: what bricks send to each other.
//
// Copying a handle takes a reference, destroying it gives the reference back; the node ends with
// its last reference. Handles of one node may be copied and destroyed on any threads. One handle
// object belongs to one thread at a time.
//
// Release a block while the module that made its node is still loaded: releasing calls that
// module's code.
//
// The table of virtual functions has this order: destructors, GetData, GetData const, GetExtraSize.
// Sizes and fields are fixed: plug-ins have typed handles and nodes built in.
class BRICK_SDK_API cMemBlock {
 public:
  class node;

  // An empty block: shares the default node.
  cMemBlock();
  cMemBlock(const cMemBlock& other);
  cMemBlock& operator=(const cMemBlock& other);
  virtual ~cMemBlock();

  // The payload for writing and for reading. A plain handle does not know how its node is laid out
  // and gives null; typed blocks override all three.
  virtual void* GetData();
  virtual const void* GetData() const;
  virtual std::uint32_t GetExtraSize() const;

  // The four-character tag that says what the payload is.
  std::uint32_t GetType() const;
  // True when the payload has no bytes.
  bool IsEmpty() const;

  // Shared by all default-constructed handles. Never destroyed, so that handles may outlive
  // everything else.
  static node& mDefNode;

 protected:
  // Adopts one reference to `adopted`.
  explicit cMemBlock(node* adopted) : mNode(adopted) {}

  node* mNode;
};

// What handles share. The payload follows these fields; its place depends on the kind of node.
class BRICK_SDK_API cMemBlock::node {
 public:
  // Starts with one reference, no tag and no payload.
  node();
  node(const node&) = delete;
  node& operator=(const node&) = delete;
  virtual ~node();

  // Takes a reference; gives the node back.
  virtual node* ref();
  // Gives a reference back; the last one ends the node. Throws nothing. A plain node must have been
  // allocated with new node[1]; other kinds bring their own rule.
  virtual void unref();

  // How many nodes of all kinds are alive in the process, the default node among them: for leak
  // checks.
  static long LiveCount();

  std::uint32_t refCount = 1;  // guarded by lock
  std::uint32_t type = 0;      // four-character tag
  std::uint32_t size = 0;      // payload bytes
  CCriticalSection lock;
};

static_assert(sizeof(cMemBlock) == 2 * sizeof(void*), "plug-ins have handles built in");
static_assert(sizeof(cMemBlock::node) == (sizeof(void*) == 4 ? 40 : 64),
              "the payload of a data block follows here");

inline std::uint32_t cMemBlock::GetType() const {
  return mNode->type;
}
inline bool cMemBlock::IsEmpty() const {
  return mNode->size == 0;
}
