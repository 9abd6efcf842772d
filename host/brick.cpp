#include "sdk/brick.h"

#include <algorithm>

#include "blocks/tags.h"
#include "host/brick_state.h"

namespace {

bool Contains(const std::vector<CBrick*>& bricks, const CBrick* brick) {
  return std::find(bricks.begin(), bricks.end(), brick) != bricks.end();
}

}  // namespace

CBrick::CBrick() : mState(new State) {}

CBrick::~CBrick() {
  mState->Unlink(this);
  mState->Join(nullptr, this);
}

int CBrick::DoCtrl() {
  if (mState->ItemsOf(Queue::kControl).empty()) return 0;
  State::Item item = mState->Take(Queue::kControl);
  if (item.block.GetType() == tag::kKill) {
    mState->Unlink(this);
    mState->DropItems();
    mState->killed = true;
    return 1;
  }
  mState->cameFrom = item.side;
  if (item.block.GetType() == tag::kNotify) {
    onNotify(item.block);
  } else {
    onCtrl(item.block);
  }
  mState->cameFrom = Side::kNone;
  return 1;
}

int CBrick::DoData() {
  if (mState->ItemsOf(Queue::kData).empty()) return 0;
  const State::Item item = mState->Take(Queue::kData);
  mState->cameFrom = item.side;
  if (item.block.GetType() == tag::kNotify) {
    onNotify(item.block);
  } else {
    onData(item.block);
  }
  mState->cameFrom = Side::kNone;
  return 1;
}

void CBrick::ConnectAfter(CBrick* before) {
  if (before == nullptr || before == this) return;
  if (Contains(mState->previous, before) || Contains(mState->next, before)) return;
  mState->previous.push_back(before);
  before->mState->next.push_back(this);
}

void CBrick::DisconnectFrom(CBrick* neighbour) {
  if (neighbour == nullptr) return;
  mState->Forget(neighbour);
  neighbour->mState->Forget(this);
  mState->DropItemsFrom(neighbour->mState->id);
}

void CBrick::DisconnectFromAll() {
  for (auto* const bricks : {&mState->previous, &mState->next}) {
    while (!bricks->empty()) CBrick::DisconnectFrom(bricks->back());
  }
}

// This host does not tell owned bricks from others: all end by 'Kill'.
void CBrick::ConnectOwned(CBrick*) {}
void CBrick::DisconnectOwned(CBrick*) {}

int CBrick::Create(const TBrickConfig& config) {
  mState->ownerContext = config.ownerContext;
  mState->signature = config.signature;
  mState->Join(Pipeline::State::Find(config.ownerContext), this);
  const SettingsInForce inForce(Pipeline::State::SettingsFor(config.ownerContext));
  return onCreate(config);
}

// Every brick of this host is always running.
void CBrick::SetStopped(bool) {}

bool CBrick::HasNextBrick() {
  return !mState->next.empty();
}
bool CBrick::HasPreviousBrick() {
  return !mState->previous.empty();
}
std::uint32_t CBrick::GetSignature() {
  return mState->signature;
}
std::uint32_t CBrick::OwnerContext() const {
  return mState->ownerContext;
}

bool CBrick::IsKnownInput(const TContentDescriptor&) {
  return false;
}
bool CBrick::IsKnownOutput(const TContentDescriptor&) {
  return false;
}

void CBrick::enqueueControl(const cMemBlock& block) {
  mState->Enqueue(Queue::kControl, block);
}
void CBrick::enqueueData(const cMemBlock& block) {
  mState->Enqueue(Queue::kData, block);
}

int CBrick::onCtrl(cMemBlock&) {
  return 1;
}
int CBrick::onData(const cMemBlock&) {
  return 1;
}
int CBrick::onNotify(const cMemBlock&) {
  return 1;
}
int CBrick::onCreate(const TBrickConfig&) {
  return 1;
}

// The receivers of a send are fixed when it begins: an overridden enqueue function may change the
// connections.

void CBrick::SendData(const cMemBlock& block) {
  const std::vector<CBrick*> receivers = mState->next;
  for (CBrick* const receiver : receivers) {
    const State::Sending sending(*receiver->mState, mState->id, Side::kUpstream);
    receiver->enqueueData(block);
  }
}

void CBrick::SendCmd(const cMemBlock& block) {
  const std::vector<CBrick*> receivers = mState->next;
  SendUp(block);
  for (CBrick* const receiver : receivers) {
    const State::Sending sending(*receiver->mState, mState->id, Side::kUpstream);
    receiver->enqueueControl(block);
  }
}

void CBrick::SendUp(const cMemBlock& block) {
  const std::vector<CBrick*> receivers = mState->previous;
  for (CBrick* const receiver : receivers) {
    const State::Sending sending(*receiver->mState, mState->id, Side::kDownstream);
    receiver->enqueueControl(block);
  }
}

CBrick::Side CBrick::CameFrom() const {
  return mState->cameFrom;
}
