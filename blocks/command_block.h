#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "blocks/command_node.h"
#include "blocks/four_cc.h"

// A command or notification: one record T, perhaps with bytes after it. All handles share the
// record; writing never copies.
template <class T, Tag kTag>
class cCommandBlock : public cMemBlock {
 public:
  class node;

  // A block of `size` bytes, record included: a fresh record, then zeros. Throws std::bad_alloc.
  static cCommandBlock New(std::uint32_t size = sizeof(T)) {
    return cCommandBlock(node::Make(size));
  }

  // A typed handle on the node of `block`. Takes a reference, copies nothing. REQUIRES: its tag is
  // kTag.
  static cCommandBlock View(const cMemBlock& block) {
    assert(block.GetType() == kTag);
    return cCommandBlock(block);
  }

  std::uint32_t Size() const { return mNode->size; }
  // False for a node too small for its record. Then only Size() is valid, unless New made the node:
  // that always leaves room for the record.
  bool HoldsRecord() const { return mNode->size >= sizeof(T); }

  // Borrowed from the node.
  T& Record() { return *node::RecordOf(mNode); }
  const T& Record() const { return *node::RecordOf(mNode); }
  void* GetData() override { return node::RecordOf(mNode); }
  const void* GetData() const override { return node::RecordOf(mNode); }

  // The bytes after the record; 0 also for a node too small for its record.
  std::uint32_t GetExtraSize() const override {
    return HoldsRecord() ? mNode->size - static_cast<std::uint32_t>(sizeof(T)) : 0;
  }

  // Adds `brick` to the bricks that have handled the command; true when it was not yet among them.
  bool MarkHandledBy(CBrick* brick) const {
    return static_cast<cCommandNode*>(mNode)->MarkHandledBy(brick);
  }

 private:
  explicit cCommandBlock(node* adopted) : cMemBlock(adopted) {}
  explicit cCommandBlock(const cMemBlock& block) : cMemBlock(block) {}
};

template <class T, Tag kTag>
class cCommandBlock<T, kTag>::node final : public cCommandNode {
 public:
  static node* Make(std::uint32_t size) {
    void* const memory =
        Allocate(sizeof(node) + sizeof(T), size > sizeof(T) ? size - sizeof(T) : 0);
    node* fresh = nullptr;
    try {
      fresh = new (memory) node();
    } catch (...) {
      std::free(memory);
      throw;
    }
    fresh->type = kTag;
    fresh->size = size;
    return fresh;
  }

  ~node() override { RecordOf(this)->~T(); }

  // The payload directly follows the fields of a command node, whichever module made it.
  static T* RecordOf(cMemBlock::node* start) {
    return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(start) + sizeof(cCommandNode));
  }

 private:
  // Records are made of zeros and empty strings, so making one cannot fail.
  node() { new (RecordOf(this)) T(); }
};
