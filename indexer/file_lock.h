#pragma once

#include "indexer/plain_file.h"

// A lock on an open file, which other processes and other readers of this process respect. It goes
// with the object, and with the process, however that ends. Used on one thread.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock() { Release(); }
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;

  // Locks a file that is open, without waiting. False when somebody else holds the lock. Where the
  // file system does not support locks, everybody gets it. A lock held before is given up.
  bool Take(const PlainFile& file);
  void Release();

  // The lock is held on the file that has this name now; a link does not count.
  bool IsHeldAt(const QString& path) const;
  // Held, and nobody else can have it.
  bool IsExclusive() const { return mIsExclusive; }

 private:
  int mHandle = -1;  // shares the lock with the handle it was taken by, which may be closed
  bool mIsExclusive = false;
};
