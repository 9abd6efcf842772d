#pragma once

#include <pthread.h>

// Keeps this thread from being cancelled until the end of a scope: for destructors, through which
// nothing may unwind. A cancellation that comes meanwhile takes effect afterwards.
class CancellationHold {
 public:
  CancellationHold() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mBefore); }
  ~CancellationHold() { pthread_setcancelstate(mBefore, nullptr); }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;

 private:
  int mBefore = PTHREAD_CANCEL_ENABLE;
};
