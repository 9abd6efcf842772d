#pragma once

#include <functional>
#include <vector>

#include "messages.h"

// Keeps what a reader sends.
class Client : public CBrick {
 public:
  // Connected after `reader`, which is to outlive it or is deleted through it.
  explicit Client(CBrick* reader) : mReader(reader) { CBrick::ConnectAfter(reader); }

  // Puts a command into the reader's queue and runs all bricks until nothing waits; what came.
  const std::vector<cMemBlock>& Ask(const cMemBlock& command);
  // What came since the last question.
  std::vector<cMemBlock> came;
  // Called for every block while it is delivered.
  std::function<void(const cMemBlock&)> onBlock;

 protected:
  int onCtrl(cMemBlock& block) override { return Keep(block); }
  int onData(const cMemBlock& block) override { return Keep(block); }
  int onNotify(const cMemBlock& block) override { return Keep(block); }

 private:
  int Keep(const cMemBlock& block);

  CBrick* mReader;
};
