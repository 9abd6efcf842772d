#pragma once

#include <QString>

#include "indexer/plain_file.h"

// Who may do what with the cache files of an archive: its owner may read and write them, others may
// do no more with them than with the archive.
class CacheRights {
 public:
  // A missing archive gives others no rights.
  explicit CacheRights(const QString& archive);

  // Makes a new cache file and opens it for writing. Throws std::bad_alloc.
  bool Make(const QString& path, PlainFile* file) const;

 private:
  bool Narrow(const PlainFile& file) const;

  unsigned mGroup = 0;   // what the archive's group may, as an octal digit
  unsigned mOthers = 0;  // what all others may
  unsigned mGroupId = 0;
};
