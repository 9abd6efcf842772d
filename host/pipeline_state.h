#pragma once

#include <cstdint>
#include <deque>
#include <unordered_map>

#include "host/host_settings.h"
#include "host/pipeline.h"
#include "sdk/brick.h"

// Names a brick, which may be gone. Never 0, never used twice in a process.
using BrickId = std::uint64_t;

enum class Queue { kControl, kData };

// What a pipeline schedules: the bricks that have joined it, and one ticket for each block that
// waits. Bricks are only listed here; the pipeline calls them.
class Pipeline::State {
 public:
  // Names a waiting block without referring to its brick, which may be gone when the ticket's turn
  // comes.
  struct Ticket {
    BrickId brick;
    Queue queue;
    std::uint64_t item;  // its number in the brick
  };

  explicit State(const HostSettings& ofItsHost);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The living pipeline with this id; null when there is none. To be used only on the thread that
  // it belongs to.
  static State* Find(std::uint32_t id);
  // The settings for making a brick whose creation record names this id: those of the pipeline or,
  // when there is none, those in force.
  static const HostSettings& SettingsFor(std::uint32_t id);

  // The brick with this id; null when it is gone or not of this pipeline.
  CBrick* BrickOf(BrickId brick) const;

  const std::uint32_t id;
  const HostSettings settings;
  std::deque<Ticket> tickets;
  std::unordered_map<BrickId, CBrick*> bricks;

 private:
  class Living;
};
