#pragma once

#include <gmock/gmock.h>

#include <string>

#include "sdk/mem_block.h"

// Makes sure that no block outlives a test.
class BlockTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(cMemBlock::node::LiveCount(), mLiveNodesBefore); }

 private:
  const long mLiveNodesBefore = cMemBlock::node::LiveCount();
};

// Gives tests the node that a handle holds.
struct NodeAccess : cMemBlock {
  static node& Of(const cMemBlock& block) { return *(block.*&NodeAccess::mNode); }
};

// Whether no other string shares the characters of `text`: writing moves them when one does.
inline bool IsOnlyOwner(std::string& text) {
  const char* const before = text.c_str();
  text[0] = 'x';
  return text.c_str() == before;
}
