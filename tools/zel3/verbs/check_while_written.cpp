#include "verbs/check_while_written.h"

#include "sources/source_facts.h"
#include "system/failure.h"

namespace {

// Waking the thread for less takes longer than reading it.
constexpr FilePosition kWorthReading = 1 << 20;

}  // namespace

CheckWhileWritten::CheckWhileWritten(const std::string& path) {
  mResult = std::async(std::launch::async, [this, path] {
    Result result;
    const SourceFacts source({}, path);
    result.facts = CheckArchive(
        path, source, &result.findings, [](std::uint64_t) {},
        [this](FilePosition position) { return WaitForMoreThan(position); });
    return result;
  });
}

CheckWhileWritten::~CheckWhileWritten() {
  const std::lock_guard<std::mutex> held(mLock);
  mIsGivenUp = true;
  mHasGrown.notify_one();
}

void CheckWhileWritten::Grow(FilePosition size) {
  const std::lock_guard<std::mutex> held(mLock);
  mSize = size;
  if (size - mTold < kWorthReading) return;
  mTold = size;
  mHasGrown.notify_one();
}

CheckWhileWritten::Result CheckWhileWritten::End(FilePosition size) {
  {
    const std::lock_guard<std::mutex> held(mLock);
    mSize = size;
    mIsWhole = true;
    mHasGrown.notify_one();
  }
  return mResult.get();
}

FilePosition CheckWhileWritten::WaitForMoreThan(FilePosition position) {
  std::unique_lock<std::mutex> held(mLock);
  mHasGrown.wait(held, [&] {
    return mIsWhole || mIsGivenUp || (mTold > position && mTold - position >= kWorthReading);
  });
  if (mIsGivenUp) throw Failure("given up", kExitInterrupted);
  return mSize;
}
