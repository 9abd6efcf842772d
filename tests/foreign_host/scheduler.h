#pragma once

#include "sdk/brick.h"

// Hands over what waits in the queues of bricks, control blocks first, and ends bricks that got
// 'Kill'.
struct Scheduler {
  // Sends call the receiver instead of filling its queue.
  static bool deliversAtOnce;

  // Until nothing waits.
  static void Run();
  static unsigned BricksAlive();
  static bool IsAlive(CBrick* brick);
};
