#pragma once

#include <string>
#include <vector>

#include "blocks/tags.h"
#include "sdk/brick.h"
#include "support/block_text.h"

// The brick after a reader: keeps every block in the order of arrival.
class CapturingClient : public CBrick {
 public:
  // The blocks since the last call. The requests with which a run pulls its file also come to every
  // client; they are counted apart.
  std::vector<cMemBlock> Take() {
    std::vector<cMemBlock> taken;
    taken.swap(mBlocks);
    return taken;
  }

  // The requests of runs, in words.
  std::vector<std::string> pulls;

 protected:
  int onCtrl(cMemBlock& block) override {
    if (block.GetType() != tag::kChunkRequest) return Keep(block);
    pulls.push_back(BlockText(block));
    return 1;
  }
  int onData(const cMemBlock& block) override { return Keep(block); }
  int onNotify(const cMemBlock& block) override { return Keep(block); }

 private:
  int Keep(const cMemBlock& block) {
    mBlocks.push_back(block);
    return 1;
  }

  std::vector<cMemBlock> mBlocks;
};
