#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "blocks/four_cc.h"
#include "blocks/node_pool.h"
#include "sdk/mem_block.h"

// A data block: one record T, then extra bytes. The node's size counts both.
//
// Handles share their node until one of them writes: writing access to a shared node gives the
// writer its own copy. Released nodes are pooled by type, because data blocks come at the rate of
// the archive.
template <class T, Tag kTag>
class cStructBlock : public cMemBlock {
 public:
  class node;

  // A block of `size` bytes, record included: a fresh record, then uninitialised bytes. Throws
  // std::bad_alloc.
  static cStructBlock New(std::uint32_t size = sizeof(T)) {
    node* const fresh = node::Make(size);
    fresh->type = kTag;
    return cStructBlock(fresh);
  }

  // A typed handle on the node of `block`, whose tag must say that it holds a T. Takes a reference,
  // copies nothing. For reading, hence const: writing through a copy of the handle would write to a
  // node other than the sender's.
  static const cStructBlock View(const cMemBlock& block) { return cStructBlock(block); }

  std::uint32_t Size() const { return mNode->size; }
  // False for a node too small for its record. Then only Size() is valid, unless New made the node:
  // that always leaves room for the record.
  bool HoldsRecord() const { return mNode->size >= sizeof(T); }

  // Reading: never copies. Borrowed from the node.
  const T& Record() const { return *node::RecordOf(mNode); }
  const unsigned char* Bytes() const { return node::BytesOf(mNode); }
  const unsigned char* ExtraBytes() const { return Bytes() + sizeof(T); }
  const void* GetData() const override { return Bytes(); }

  // Writing: copies a shared node first. Throws std::bad_alloc.
  T& WritableRecord() {
    Detach();
    return *node::RecordOf(mNode);
  }
  unsigned char* WritableBytes() {
    Detach();
    return node::BytesOf(mNode);
  }
  void* GetData() override { return WritableBytes(); }

  // Writing to a new block: takes no lock. REQUIRES: the block has never had another handle.
  T& FreshRecord() { return *reinterpret_cast<T*>(FreshBytes()); }
  unsigned char* FreshBytes() {
    assert(mNode->refCount == 1);
    return node::BytesOf(mNode);
  }

  // The bytes after the record; 0 also for a node too small for its record.
  std::uint32_t GetExtraSize() const override {
    return HoldsRecord() ? mNode->size - static_cast<std::uint32_t>(sizeof(T)) : 0;
  }

 private:
  explicit cStructBlock(node* adopted) : cMemBlock(adopted) {}
  explicit cStructBlock(const cMemBlock& block) : cMemBlock(block) {}

  void Detach() {
    cMemBlock::node* const shared = mNode;
    CSingleLock lock(shared->lock);
    if (shared->refCount == 1) return;
    mNode = node::CopyOf(*shared);
    --shared->refCount;
  }

  static chainlist mChain;
};

template <class T, Tag kTag>
chainlist cStructBlock<T, kTag>::mChain;

template <class T, Tag kTag>
class cStructBlock<T, kTag>::node final : public cMemBlock::node {
 public:
  static node* Make(std::uint32_t size) {
    void* const memory = Allocate(size);
    return Construct(memory, size, [](unsigned char* place) { new (place) T(); });
  }

  // REQUIRES: the lock of `source` is held, so that its payload does not change.
  static node* CopyOf(const cMemBlock::node& source) {
    void* const memory = Allocate(source.size);
    const bool whole = source.size >= sizeof(T);
    node* const copy = Construct(memory, source.size, [&source, whole](unsigned char* place) {
      // A record with strings must be copied by its constructor; copying its bytes would share them
      // uncounted.
      if (whole) {
        new (place) T(*RecordOf(&source));
      } else {
        new (place) T();
      }
    });
    copy->type = source.type;
    if (whole)
      std::memcpy(BytesOf(copy) + sizeof(T), BytesOf(&source) + sizeof(T), source.size - sizeof(T));
    return copy;
  }

  ~node() override { RecordOf(this)->~T(); }

  void unref() override {
    lock.Lock();
    if (--refCount != 0) {
      lock.Unlock();
      return;
    }
    CSingleLock poolLock(mChain.Section());
    lock.Unlock();
    const std::uint32_t releasedSize = size;
    this->~node();
    mChain.PutFront(this, releasedSize);
  }

  // The payload directly follows the node's fields, so it is found in a node made by any module.
  static unsigned char* BytesOf(cMemBlock::node* start) {
    return reinterpret_cast<unsigned char*>(start) + sizeof(cMemBlock::node);
  }
  static const unsigned char* BytesOf(const cMemBlock::node* start) {
    return reinterpret_cast<const unsigned char*>(start) + sizeof(cMemBlock::node);
  }
  static T* RecordOf(cMemBlock::node* start) { return reinterpret_cast<T*>(BytesOf(start)); }
  static const T* RecordOf(const cMemBlock::node* start) {
    return reinterpret_cast<const T*>(BytesOf(start));
  }

 private:
  node() = default;

  static void* Allocate(std::uint32_t size) {
    if (void* const pooled = mChain.Take(size)) return pooled;
    const std::size_t payload = std::max<std::size_t>(size, sizeof(T));
    if (payload > std::numeric_limits<std::size_t>::max() - sizeof(node)) throw std::bad_alloc();
    void* const memory = std::malloc(sizeof(node) + payload);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }

  template <class MakeRecord>
  static node* Construct(void* memory, std::uint32_t size, MakeRecord makeRecord) {
    try {
      makeRecord(static_cast<unsigned char*>(memory) + sizeof(cMemBlock::node));
    } catch (...) {
      std::free(memory);
      throw;
    }
    node* const fresh = new (memory) node();
    fresh->size = size;
    return fresh;
  }
};
