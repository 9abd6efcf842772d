#include "host/brick_state.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <utility>

namespace {

BrickId NewBrickId() {
  static std::atomic<BrickId> last{0};
  return ++last;
}

}  // namespace

CBrick::State::State() : id(NewBrickId()) {}

void CBrick::State::Enqueue(Queue queue, const cMemBlock& block) {
  const std::uint64_t number = mNextNumber++;
  // The ticket first: one without an item is passed over, an item without one would block its queue
  // for good when memory fails in between.
  if (pipeline != nullptr) pipeline->tickets.push_back({id, queue, number});
  QueueOf(queue).push_back({QueuedBlock(block), number, mSender, mSenderSide});
}

CBrick::State::Item CBrick::State::Take(Queue queue) {
  Items& items = QueueOf(queue);
  assert(!items.empty());
  Item oldest = std::move(items.front());
  items.pop_front();
  return oldest;
}

void CBrick::State::DropItems() {
  mControl.clear();
  mData.clear();
}

void CBrick::State::DropItemsFrom(BrickId sender) {
  const auto isFromSender = [sender](const Item& item) { return item.sender == sender; };
  for (Items* const items : {&mControl, &mData}) {
    items->erase(std::remove_if(items->begin(), items->end(), isFromSender), items->end());
  }
}

void CBrick::State::Forget(const CBrick* neighbour) {
  for (auto* const bricks : {&previous, &next}) {
    bricks->erase(std::remove(bricks->begin(), bricks->end(), neighbour), bricks->end());
  }
}

void CBrick::State::Unlink(const CBrick* self) {
  for (const auto* const bricks : {&previous, &next}) {
    for (const CBrick* const brick : *bricks) brick->mState->Forget(self);
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

  auto nextControl = mControl.begin();
  auto nextData = mData.begin();
  while (nextControl != mControl.end() || nextData != mData.end()) {
    const bool takeControl = nextData == mData.end() || (nextControl != mControl.end() &&
                                                         nextControl->number < nextData->number);
    const Queue queue = takeControl ? Queue::kControl : Queue::kData;
    const std::uint64_t number = takeControl ? (nextControl++)->number : (nextData++)->number;
    pipeline->tickets.push_back({id, queue, number});
  }
}
