#include "sdk/brick.h"

#include <algorithm>
#include <deque>
#include <vector>

#include "messages.h"
#include "scheduler.h"

struct BrickLinks {
  std::deque<cMemBlock> data;
  std::deque<cMemBlock> control;
  std::vector<CBrick*> after;
  std::vector<CBrick*> before;
  unsigned ownSignature;
};

namespace {

std::vector<CBrick*> alive;

void Remove(std::vector<CBrick*>& bricks, CBrick* brick) {
  bricks.erase(std::remove(bricks.begin(), bricks.end(), brick), bricks.end());
}

int TakeOldest(std::deque<cMemBlock>& queue, cMemBlock& block) {
  if (queue.empty()) return 0;
  block = queue.front();
  queue.pop_front();
  return 1;
}

}  // namespace

CBrick::CBrick() : mLinks(new BrickLinks()) {
  alive.push_back(this);
}

CBrick::~CBrick() {
  CBrick::DisconnectFromAll();
  Remove(alive, this);
  delete mLinks;
}

int CBrick::Create(const TBrickConfig& config) {
  mLinks->ownSignature = config.signature;
  return onCreate(config);
}

unsigned CBrick::GetSignature() {
  return mLinks->ownSignature;
}

void CBrick::ConnectAfter(CBrick* other) {
  mLinks->before.push_back(other);
  other->mLinks->after.push_back(this);
}

void CBrick::DisconnectFrom(CBrick* neighbour) {
  Remove(mLinks->before, neighbour);
  Remove(mLinks->after, neighbour);
  Remove(neighbour->mLinks->before, this);
  Remove(neighbour->mLinks->after, this);
}

void CBrick::DisconnectFromAll() {
  while (!mLinks->before.empty()) DisconnectFrom(mLinks->before.back());
  while (!mLinks->after.empty()) DisconnectFrom(mLinks->after.back());
}

bool CBrick::HasNextBrick() {
  return !mLinks->after.empty();
}
bool CBrick::HasPreviousBrick() {
  return !mLinks->before.empty();
}

void CBrick::ConnectOwned(CBrick*) {}
void CBrick::DisconnectOwned(CBrick*) {}
void CBrick::SetStopped(bool) {}
bool CBrick::IsKnownInput(const TContentDescriptor&) {
  return false;
}
bool CBrick::IsKnownOutput(const TContentDescriptor&) {
  return false;
}

void CBrick::enqueueControl(const cMemBlock& block) {
  mLinks->control.push_back(block);
}
void CBrick::enqueueData(const cMemBlock& block) {
  mLinks->data.push_back(block);
}

int CBrick::Handle(cMemBlock block, bool isControl) {
  if (isControl) return onCtrl(block);
  return block.GetType() == kNotify ? onNotify(block) : onData(block);
}

int CBrick::DoCtrl() {
  cMemBlock block;
  return TakeOldest(mLinks->control, block) != 0 ? Handle(block, true) : 0;
}
int CBrick::DoData() {
  cMemBlock block;
  return TakeOldest(mLinks->data, block) != 0 ? Handle(block, false) : 0;
}

void CBrick::Hand(CBrick* receiver, const cMemBlock& block, bool isControl) {
  if (!Scheduler::IsAlive(receiver)) return;
  if (Scheduler::deliversAtOnce) {
    receiver->Handle(block, isControl);
  } else if (isControl) {
    receiver->enqueueControl(block);
  } else {
    receiver->enqueueData(block);
  }
}

// The sender may be gone after any of these.
void CBrick::SendData(const cMemBlock& block) {
  for (CBrick* receiver : std::vector<CBrick*>(mLinks->after)) Hand(receiver, block, false);
}
void CBrick::SendCmd(const cMemBlock& block) {
  std::vector<CBrick*> receivers = mLinks->before;
  receivers.insert(receivers.end(), mLinks->after.begin(), mLinks->after.end());
  for (CBrick* receiver : receivers) Hand(receiver, block, true);
}
void CBrick::SendBack(const cMemBlock& block) {
  for (CBrick* receiver : std::vector<CBrick*>(mLinks->before)) Hand(receiver, block, true);
}

bool Scheduler::deliversAtOnce = false;

bool Scheduler::IsAlive(CBrick* brick) {
  return std::find(alive.begin(), alive.end(), brick) != alive.end();
}

unsigned Scheduler::BricksAlive() {
  return static_cast<unsigned>(alive.size());
}

void Scheduler::Run() {
  for (bool busy = true; busy;) {
    busy = false;
    for (CBrick* brick : std::vector<CBrick*>(alive)) {
      while (IsAlive(brick) && !brick->mLinks->control.empty()) {
        busy = true;
        if (brick->mLinks->control.front().GetType() == kKill) {
          delete brick;
        } else {
          brick->DoCtrl();
        }
      }
      if (!IsAlive(brick) || brick->mLinks->data.empty()) continue;
      busy = true;
      brick->DoData();
    }
  }
}
