#include "archive/typical_step.h"

#include <algorithm>

void TypicalStep::Add(ArchiveTime step) {
  if (step == 0 || IsSettled()) return;
  mSteps.insert(std::upper_bound(mSteps.begin(), mSteps.end(), step), step);
}

ArchiveTime TypicalStep::Get() const {
  return mSteps.empty() ? 0 : mSteps[(mSteps.size() - 1) / 2];
}
