#pragma once

#include <mutex>

// A lock for one short section at a time. Not recursive: a thread that holds it must not lock it
// again.
class CCriticalSection {
 public:
  CCriticalSection() = default;
  CCriticalSection(const CCriticalSection&) = delete;
  CCriticalSection& operator=(const CCriticalSection&) = delete;

  void Lock() { mMutex.lock(); }
  void Unlock() { mMutex.unlock(); }

 private:
  std::mutex mMutex;
};

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
