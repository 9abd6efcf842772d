#pragma once

// A lock that waits without sleeping. A free one holds neither zeros nor ones, so that memory that
// was never constructed, or that something else was written to, does not look like a lock.
class CCriticalSection {
 public:
  ~CCriticalSection();
  CCriticalSection();
  void Unlock();
  void Lock();

 private:
  CCriticalSection(const CCriticalSection&);
  void operator=(const CCriticalSection&);

  unsigned long mWords[sizeof(void*) == 4 ? 6 : 5];
};

class CSingleLock {
 public:
  CSingleLock(CCriticalSection& section) : mTaken(&section) { section.Lock(); }
  ~CSingleLock() { mTaken->Unlock(); }

 private:
  CCriticalSection* mTaken;
};
