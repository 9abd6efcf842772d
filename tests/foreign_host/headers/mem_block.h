#pragma once

#include "critical_section.h"

// A handle on a shared node.
class cMemBlock {
 public:
  class node;

  virtual ~cMemBlock();
  virtual void* GetData();
  virtual const void* GetData() const;
  virtual unsigned GetExtraSize() const;

  cMemBlock();
  cMemBlock(const cMemBlock& other);
  cMemBlock& operator=(const cMemBlock& other);

  bool IsEmpty() const;
  unsigned GetType() const;
  // Borrowed, for this host's own use.
  node* Node() const { return mNode; }

  static node& mDefNode;

  // Takes over one reference.
  explicit cMemBlock(node* mine) { mNode = mine; }

 protected:
  node* mNode;
};

class cMemBlock::node {
 public:
  virtual ~node();
  virtual node* ref();
  virtual void unref();
  node();

  unsigned refCount;
  unsigned type;
  unsigned size;
  CCriticalSection lock;

 private:
  node(const node&);
};

inline unsigned cMemBlock::GetType() const {
  return mNode->type;
}
inline bool cMemBlock::IsEmpty() const {
  return !mNode->size;
}
