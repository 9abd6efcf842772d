#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <unordered_map>

#include "host/pipeline.h"
#include "sdk/brick.h"

enum class Queue { kControl, kData };

// What a pipeline schedules: the bricks that have joined it, and one ticket for each block that
// waits.
class Pipeline::State {
 public:
  // Names a waiting block without referring to its brick, which may be gone when the ticket's turn
  // comes.
  struct Ticket {
    std::uint64_t brickId;
    Queue queue;
    std::uint64_t item;
  };

  State();
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The living pipeline of this id; null when there is none.
  static State* Find(std::uint32_t id);

  // The brick of the oldest ticket, null when no block waits. Forgets tickets whose block is gone.
  CBrick* OldestReceiver();

  const std::uint32_t id;
  std::deque<Ticket> tickets;
  std::unordered_map<std::uint64_t, CBrick*> bricks;  // by brick id

 private:
  static std::map<std::uint32_t, State*>& Living();
};
