#include "host/pipeline.h"

#include "host/brick_state.h"
#include "host/pipeline_state.h"

namespace {

std::uint32_t NewPipelineId() {
  static std::uint32_t last = 0;
  return ++last;
}

}  // namespace

std::map<std::uint32_t, Pipeline::State*>& Pipeline::State::Living() {
  static std::map<std::uint32_t, State*> pipelines;
  return pipelines;
}

Pipeline::State::State() : id(NewPipelineId()) {
  Living()[id] = this;
}

Pipeline::State::~State() {
  Living().erase(id);
  for (const auto& entry : bricks) entry.second->mState->pipeline = nullptr;
}

Pipeline::State* Pipeline::State::Find(std::uint32_t id) {
  const auto found = Living().find(id);
  return found == Living().end() ? nullptr : found->second;
}

CBrick* Pipeline::State::OldestReceiver() {
  for (; !tickets.empty(); tickets.pop_front()) {
    const Ticket& ticket = tickets.front();
    const auto found = bricks.find(ticket.brickId);
    if (found == bricks.end()) continue;
    const auto& items = found->second->mState->ItemsOf(ticket.queue);
    if (!items.empty() && items.front().number == ticket.item) return found->second;
  }
  return nullptr;
}

Pipeline::Pipeline() : mState(new State) {}

Pipeline::~Pipeline() = default;

std::uint32_t Pipeline::Id() const {
  return mState->id;
}

std::size_t Pipeline::BrickCount() const {
  return mState->bricks.size();
}

bool Pipeline::RunUntilIdle(std::uint64_t maxSteps) {
  for (; maxSteps > 0; --maxSteps) {
    if (!RunOne()) return true;
  }
  return mState->OldestReceiver() == nullptr;
}

bool Pipeline::RunOne() {
  CBrick* const receiver = mState->OldestReceiver();
  if (receiver == nullptr) return false;
  const State::Ticket ticket = mState->tickets.front();
  mState->tickets.pop_front();
  if (ticket.queue == Queue::kControl) {
    receiver->DoCtrl();
  } else {
    receiver->DoData();
  }
  const auto found = mState->bricks.find(ticket.brickId);
  if (found != mState->bricks.end() && found->second->mState->killed) delete found->second;
  return true;
}
