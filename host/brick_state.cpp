#include "host/brick_state.h"

#include <algorithm>
#include <utility>

namespace {

std::uint64_t NewBrickId() {
  static std::uint64_t last = 0;
  return ++last;
}

}  // namespace

CBrick::State::State() : id(NewBrickId()) {}

void CBrick::State::Enqueue(Queue queue, const cMemBlock& block) {
  const std::uint64_t number = mNextItem++;
  // The ticket first: one without an item is passed over, an item without one would block its queue
  // for good when memory fails in between.
  if (pipeline != nullptr) pipeline->tickets.push_back({id, queue, number});
  ItemsOf(queue).push_back({block, number, sendingId, sendingSide});
}

CBrick::State::Item CBrick::State::Take(Queue queue) {
  Items& items = ItemsOf(queue);
  Item oldest = std::move(items.front());
  items.pop_front();
  return oldest;
}

void CBrick::State::DropItems() {
  control.clear();
  data.clear();
}

void CBrick::State::DropItemsFrom(std::uint64_t sender) {
  const auto isFromSender = [sender](const Item& item) { return item.senderId == sender; };
  for (Items* const items : {&control, &data}) {
    items->erase(std::remove_if(items->begin(), items->end(), isFromSender), items->end());
  }
}

void CBrick::State::SendTo(CBrick* receiver, Side side, Queue queue, const cMemBlock& block) const {
  struct Sending {
    State& target;
    ~Sending() {
      target.sendingId = 0;
      target.sendingSide = Side::kNone;
    }
  };
  const Sending sending{*receiver->mState};
  sending.target.sendingId = id;
  sending.target.sendingSide = side;
  if (queue == Queue::kControl) {
    receiver->enqueueControl(block);
  } else {
    receiver->enqueueData(block);
  }
}

void CBrick::State::Forget(const CBrick* neighbour) {
  for (auto* const bricks : {&previous, &next}) {
    bricks->erase(std::remove(bricks->begin(), bricks->end(), neighbour), bricks->end());
  }
}

void CBrick::State::Unlink(CBrick* self) {
  for (const auto* const bricks : {&previous, &next}) {
    for (CBrick* const brick : *bricks) brick->mState->Forget(self);
  }
  previous.clear();
  next.clear();
}

void CBrick::State::Join(Pipeline::State* newPipeline, CBrick* self) {
  if (newPipeline == pipeline) return;
  if (pipeline != nullptr) pipeline->bricks.erase(id);
  pipeline = newPipeline;
  if (pipeline == nullptr) return;
  pipeline->bricks[id] = self;

  auto nextControl = control.begin();
  auto nextData = data.begin();
  while (nextControl != control.end() || nextData != data.end()) {
    const bool takeControl = nextData == data.end() || (nextControl != control.end() &&
                                                        nextControl->number < nextData->number);
    const Queue queue = takeControl ? Queue::kControl : Queue::kData;
    const std::uint64_t number = takeControl ? (nextControl++)->number : (nextData++)->number;
    pipeline->tickets.push_back({id, queue, number});
  }
}
