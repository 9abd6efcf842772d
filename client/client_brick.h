#pragma once

#include <deque>

#include "sdk/brick.h"

// The brick at the end of the program's chain: keeps what reaches it, in the order of arrival,
// until it is taken.
class ClientBrick : public CBrick {
 public:
  // Moves the oldest kept block into `block`. False when none is kept. Throws std::bad_alloc when a
  // block could not be kept since the last call.
  bool Take(cMemBlock* block);

 protected:
  int onCtrl(cMemBlock& block) override { return Keep(block); }
  int onData(const cMemBlock& block) override { return Keep(block); }
  int onNotify(const cMemBlock& block) override { return Keep(block); }

 private:
  int Keep(const cMemBlock& block) noexcept;

  std::deque<cMemBlock> mKept;
  bool mLostOne = false;
};
