#include "client.h"

#include "scheduler.h"

const std::vector<cMemBlock>& Client::Ask(const cMemBlock& command) {
  came.clear();
  mReader->enqueueControl(command);
  Scheduler::Run();
  return came;
}

int Client::Keep(const cMemBlock& block) {
  // What the reader tells its parser reaches all its neighbours.
  if (block.GetType() == Code("CRq3")) return 1;
  came.push_back(block);
  if (onBlock) onBlock(block);
  return 1;
}
