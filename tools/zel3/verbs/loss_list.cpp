#include "verbs/loss_list.h"

#include <algorithm>

const char* Name(LossCause cause) {
  switch (cause) {
    case LossCause::kUnreadable:
      return "unreadable";
    case LossCause::kUndeclared:
      return "undeclared";
    case LossCause::kNoIndex:
      return "no-index";
    case LossCause::kNoHeader:
      return "no-header";
    case LossCause::kCutOff:
      return "cut-off";
    case LossCause::kDamage:
      break;
  }
  return "damage";
}

void LossList::Add(LossCause cause, FilePosition position, std::uint64_t bytes) {
  if (bytes == 0) return;
  mBytes += bytes;
  const bool goesOn =
      mCount > 0 && mLast.cause == cause && mLast.position + mLast.bytes == position;
  if (goesOn) {
    mLast.bytes += bytes;
    if (mCount <= kMostKept) {
      mKept.back().bytes = mLast.bytes;
      // An entry found since then is itself lost.
      mKept.back().after.reset();
      mWithoutAfter = std::min(mWithoutAfter, mKept.size() - 1);
    }
    return;
  }
  ++mCount;
  mLast = {cause, position, bytes, mTime};
  if (mCount <= kMostKept) mKept.push_back(mLast);
}

void LossList::OnEntry(ArchiveTime time) {
  mTime = time;
  for (; mWithoutAfter < mKept.size(); ++mWithoutAfter) mKept[mWithoutAfter].after = time;
}
