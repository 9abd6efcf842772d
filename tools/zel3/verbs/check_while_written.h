#pragma once

#include <condition_variable>
#include <future>
#include <mutex>
#include <string>

#include "blocks/units.h"
#include "checkup/archive_checkup.h"
#include "checkup/finding.h"

// Checks an archive while it is being written, as zel3 doctor would, on its own thread. To be used
// from one thread.
class CheckWhileWritten {
 public:
  explicit CheckWhileWritten(const std::string& path);
  // Gives up unless End has been called.
  ~CheckWhileWritten();
  CheckWhileWritten(const CheckWhileWritten&) = delete;
  CheckWhileWritten& operator=(const CheckWhileWritten&) = delete;

  // This many bytes of the archive can be read now.
  void Grow(FilePosition size);

  struct Result {
    ArchiveFacts facts;
    Findings findings;
  };
  // Waits for the findings about the whole archive, which has `size` bytes. Called once. Throws
  // Failure when the user interrupts.
  Result End(FilePosition size);

 private:
  FilePosition WaitForMoreThan(FilePosition position);

  std::mutex mLock;
  std::condition_variable mHasGrown;
  FilePosition mSize = 0;
  FilePosition mTold = 0;  // the size when the thread was last woken
  bool mIsWhole = false;
  bool mIsGivenUp = false;
  std::future<Result> mResult;
};
