#pragma once

#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include "host/pipeline_state.h"
#include "sdk/brick.h"

// What the host keeps for a brick: its neighbours, its waiting blocks and where it belongs.
//
// Nothing here calls a function of a brick: states deal with states, and what a brick does with its
// own is in brick.cpp.
class CBrick::State {
 public:
  // A handle that can be moved; moving takes no lock.
  class QueuedBlock : public cMemBlock {
   public:
    explicit QueuedBlock(const cMemBlock& block) : cMemBlock(block) {}
    QueuedBlock(QueuedBlock&& other) noexcept : cMemBlock(std::exchange(other.mNode, nullptr)) {}
    QueuedBlock& operator=(QueuedBlock&& other) noexcept {
      std::swap(mNode, other.mNode);
      return *this;
    }
  };

  struct Item {
    QueuedBlock block;
    std::uint64_t number;  // in the order of arrival, across both queues of the brick
    BrickId sender;        // 0 for a block that no neighbour sent
    Side side;             // where the sender is
  };
  using Items = std::deque<Item>;

  // While it lives, what is put into the receiver's queues counts as sent by `sender`, which is on
  // the receiver's `side`.
  class Sending {
   public:
    Sending(State& receiver, BrickId sender, Side side) : mReceiver(receiver) {
      mReceiver.mSender = sender;
      mReceiver.mSenderSide = side;
    }
    ~Sending() {
      mReceiver.mSender = 0;
      mReceiver.mSenderSide = Side::kNone;
    }
    Sending(const Sending&) = delete;
    Sending& operator=(const Sending&) = delete;

   private:
    State& mReceiver;
  };

  State();

  const Items& ItemsOf(Queue queue) const { return queue == Queue::kControl ? mControl : mData; }
  void Enqueue(Queue queue, const cMemBlock& block);
  // The oldest item of the queue, taken out of it. REQUIRES: the queue is not empty.
  Item Take(Queue queue);
  void DropItems();
  void DropItemsFrom(BrickId sender);

  // Removes this brick's half of the link to `neighbour`.
  void Forget(const CBrick* neighbour);
  // Removes the links between `self`, whose state this is, and its neighbours.
  void Unlink(const CBrick* self);

  // Makes `newPipeline`, which may be null, the one that schedules `self`, and gives it the blocks
  // that wait.
  void Join(Pipeline::State* newPipeline, CBrick* self);

  const BrickId id;
  Pipeline::State* pipeline = nullptr;
  std::uint32_t ownerContext = 0;
  std::uint32_t signature = 0;
  std::vector<CBrick*> previous;
  std::vector<CBrick*> next;
  Side cameFrom = Side::kNone;  // the block at hand
  bool killed = false;          // to be destroyed by the pipeline

 private:
  Items& QueueOf(Queue queue) { return queue == Queue::kControl ? mControl : mData; }

  Items mControl;
  Items mData;
  std::uint64_t mNextNumber = 0;
  BrickId mSender = 0;
  Side mSenderSide = Side::kNone;
};
