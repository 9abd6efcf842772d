#pragma once

#include <cstddef>

#include "sdk/sdk_export.h"

// A lock for one short section at a time. Not recursive: a thread that holds it must not lock it
// again.
//
// Its size is fixed, because nodes of blocks contain one and their payload follows it. Its contents
// are the host's own: a host may lock in another way.
class BRICK_SDK_API CCriticalSection {
 public:
  CCriticalSection();
  ~CCriticalSection();
  CCriticalSection(const CCriticalSection&) = delete;
  CCriticalSection& operator=(const CCriticalSection&) = delete;

  void Lock();
  void Unlock();

 private:
  static constexpr std::size_t kSize = sizeof(void*) == 4 ? 24 : 40;

  alignas(void*) unsigned char mStorage[kSize];
};

static_assert(sizeof(CCriticalSection) == (sizeof(void*) == 4 ? 24 : 40) &&
                  alignof(CCriticalSection) == sizeof(void*),
              "the place of a block's payload depends on it");

// Holds a critical section from its construction to the end of its scope. Borrows the section.
class CSingleLock {
 public:
  explicit CSingleLock(CCriticalSection& section) : mSection(section) { mSection.Lock(); }
  ~CSingleLock() { mSection.Unlock(); }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;

 private:
  CCriticalSection& mSection;
};
