#include "host/pipeline.h"

#include "host/brick_state.h"
#include "host/pipeline_state.h"

Pipeline::Pipeline(const HostSettings& settings) : mState(new State(settings)) {}

Pipeline::~Pipeline() {
  for (const auto& entry : mState->bricks) entry.second->mState->pipeline = nullptr;
}

std::uint32_t Pipeline::Id() const {
  return mState->id;
}

std::size_t Pipeline::BrickCount() const {
  return mState->bricks.size();
}

// Forgets tickets whose block is gone.
CBrick* Pipeline::OldestReceiver() {
  for (auto& tickets = mState->tickets; !tickets.empty(); tickets.pop_front()) {
    const State::Ticket& ticket = tickets.front();
    CBrick* const brick = mState->BrickOf(ticket.brick);
    if (brick == nullptr) continue;
    const auto& items = brick->mState->ItemsOf(ticket.queue);
    if (!items.empty() && items.front().number == ticket.item) return brick;
  }
  return nullptr;
}

bool Pipeline::RunUntilIdle(std::uint64_t maxSteps) {
  for (; maxSteps > 0; --maxSteps) {
    if (!RunOne()) return true;
  }
  return OldestReceiver() == nullptr;
}

bool Pipeline::RunOne() {
  CBrick* const receiver = OldestReceiver();
  if (receiver == nullptr) return false;
  const State::Ticket ticket = mState->tickets.front();
  mState->tickets.pop_front();
  const SettingsInForce inForce(mState->settings);
  if (ticket.queue == Queue::kControl) {
    receiver->DoCtrl();
  } else {
    receiver->DoData();
  }
  CBrick* const called = mState->BrickOf(ticket.brick);
  if (called != nullptr && called->mState->killed) delete called;
  return true;
}
