#include "client/client_brick.h"

#include <new>

bool ClientBrick::Take(cMemBlock* block) {
  if (mLostOne) throw std::bad_alloc();
  if (mKept.empty()) return false;
  *block = mKept.front();
  mKept.pop_front();
  return true;
}

int ClientBrick::Keep(const cMemBlock& block) noexcept {
  try {
    mKept.push_back(block);
  } catch (const std::bad_alloc&) {
    mLostOne = true;
  }
  return 1;
}
