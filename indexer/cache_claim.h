#pragma once

#include <QString>
#include <functional>

#include "indexer/cache_names.h"
#include "indexer/file_lock.h"
#include "indexer/plain_file.h"

// The three cache files of an archive in the hands of an indexing run: made anew and empty when it
// starts, replaced by whole ones when it ends.
//
// Nothing is ever written through a link, and nobody else is given the same files meanwhile: the
// .id3 file is locked under its final name. Opening a cache needs both .id3 and .evt, so the .evt
// is removed first and put in place last: whenever the process ends, the cache is whole or does not
// count.
class CacheClaim {
 public:
  enum class Answer {
    kGiven,
    kRefused,        // nothing can be written under these names
    kHeldByAnother,  // another run is at work on these files
  };

  // Claims the files for the cache of `archive`. A claim on the same files that is still held stays
  // as it is, and so do the files; any other is given up. All three names are tested before any of
  // them is touched. Throws std::bad_alloc.
  Answer Take(const CacheFileNames& names, const QString& archive);
  // Lets go of the files as they are.
  void Release() { mLock.Release(); }

  // Writes what the three files are to hold; false when that has failed. Throws nothing.
  using Write = std::function<bool(PlainFile& headers, PlainFile& entries, PlainFile& events)>;
  // Replaces the files by those that `write` fills, and lets go of them. False when anything has
  // failed; then there is no cache. REQUIRES: the claim has been given. Throws std::bad_alloc.
  bool Save(const Write& write);

 private:
  struct NewFiles;

  Answer TestNames();
  bool MayBeReplaced(const QString& name) const;
  Answer LockEntries();
  Answer MakeFiles();
  bool EmptyFiles() const;
  bool SaveInPlace(const Write& write) const;
  bool SaveAnew(const Write& write);
  bool PutInPlace(const NewFiles& unfinished) const;

  CacheFileNames mNames;
  QString mArchive;
  FileLock mLock;
  bool mInPlace = false;  // the files may be written, but not replaced
};
