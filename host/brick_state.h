#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "host/pipeline_state.h"
#include "sdk/brick.h"

// What the host keeps of a brick: its neighbours, its waiting blocks and where it belongs.
class CBrick::State {
 public:
  struct Item {
    cMemBlock block;
    std::uint64_t number;    // in the order of arrival, across both queues of the brick
    std::uint64_t senderId;  // 0 for a block that no neighbour sent
    Side side;
  };
  using Items = std::deque<Item>;

  State();

  Items& ItemsOf(Queue queue) { return queue == Queue::kControl ? control : data; }
  void Enqueue(Queue queue, const cMemBlock& block);
  // The oldest item of the queue, taken out of it. REQUIRES: the queue is not empty.
  Item Take(Queue queue);
  void DropItems();
  void DropItemsFrom(std::uint64_t sender);

  // Puts `block` into the receiver's own queue, with this brick as its sender; `side` is where the
  // receiver sees the sender.
  void SendTo(CBrick* receiver, Side side, Queue queue, const cMemBlock& block) const;

  // Removes this brick's half of the link to `neighbour`.
  void Forget(const CBrick* neighbour);
  // Removes the links between `self`, whose state this is, and its neighbours.
  void Unlink(CBrick* self);

  // Makes `newPipeline`, which may be null, the one that schedules `self`, and gives it the blocks
  // that wait.
  void Join(Pipeline::State* newPipeline, CBrick* self);

  const std::uint64_t id;  // never 0, never used twice in a process
  Pipeline::State* pipeline = nullptr;
  std::uint32_t ownerContext = 0;
  std::uint32_t signature = 0;
  std::vector<CBrick*> previous;
  std::vector<CBrick*> next;
  Items control;
  Items data;

  // Who is sending to this brick while a send of a neighbour calls its enqueue functions.
  std::uint64_t sendingId = 0;
  Side sendingSide = Side::kNone;

  Side cameFrom = Side::kNone;
  bool killed = false;  // to be destroyed by the pipeline

 private:
  std::uint64_t mNextItem = 0;
};
