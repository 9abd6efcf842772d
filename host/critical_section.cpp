#include "sdk/critical_section.h"

#include <pthread.h>

#include <new>

// Blocks lock often and briefly, so the system's functions are called directly and unchecked: on a
// mutex of the default kind, used as the header says, they do not fail.

namespace {

using Mutex = pthread_mutex_t;

static_assert(sizeof(Mutex) <= sizeof(CCriticalSection) &&
              alignof(Mutex) <= alignof(CCriticalSection));

Mutex* MutexIn(unsigned char* storage) {
  return std::launder(reinterpret_cast<Mutex*>(storage));
}

}  // namespace

CCriticalSection::CCriticalSection() {
  new (mStorage) Mutex(PTHREAD_MUTEX_INITIALIZER);
}

// A mutex of this kind holds nothing that needs releasing.
CCriticalSection::~CCriticalSection() = default;

void CCriticalSection::Lock() {
  pthread_mutex_lock(MutexIn(mStorage));
}

void CCriticalSection::Unlock() {
  pthread_mutex_unlock(MutexIn(mStorage));
}
