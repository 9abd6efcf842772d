#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/host_export.h"
#include "host/host_settings.h"

class CBrick;
class CBrickLoader;

// Delivers the blocks of a set of bricks: single-threaded and in the order in which they were sent,
// across all bricks and both of their queues.
//
// A brick joins the pipeline that its creation record names (`ownerContext` = Id()). The
// application destroys the bricks that it made, readers before their clients, runs until idle, and
// only then the pipeline.
//
// A pipeline and its bricks belong to one thread at a time, which makes, connects, drives and
// destroys them; nothing in them is locked. Pipelines on different threads may work at the same
// time. Blocks may go from one thread to another: handles may be copied and released on any, and a
// host that passes them on brings its own queue.
class BRICK_HOST_API Pipeline {
 public:
  // `settings` are in force on the thread while the pipeline delivers and while a brick that is to
  // join it is made.
  explicit Pipeline(const HostSettings& settings = SettingsInForce::Now());
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // The `ownerContext` of this pipeline's bricks. Never 0, never used twice in a process.
  std::uint32_t Id() const;

  static constexpr std::uint64_t kNoLimit = ~std::uint64_t{0};

  // Delivers until no block waits. False when `maxSteps` deliveries did not suffice.
  [[nodiscard]] bool RunUntilIdle(std::uint64_t maxSteps = kNoLimit);

  // Delivers the oldest waiting block. False when none waits.
  bool RunOne();

  // The bricks that have joined and are alive.
  std::size_t BrickCount() const;

 private:
  friend class CBrick;
  friend class CBrickLoader;
  class State;

  // The brick that the oldest waiting block is for; null when none waits.
  CBrick* OldestReceiver();

  std::unique_ptr<State> mState;
};
