#pragma once

#include <QString>

#include "indexer/cache_claim.h"
#include "indexer/cache_names.h"
#include "indexer/plain_file.h"

// The cache of one archive, that at currentFilePath, as names, open files and a claim: the names
// belong to that archive, an open file is the one named beside it, and only its files are claimed.
// What the files hold: entries_file.h, headers_file.h, events_file.h.
struct CacheFiles {
  // Sets the archive and the names. `refused`: they lie in a folder that is not trusted. REQUIRES:
  // the files are closed.
  void Name(const QString& archive, const CacheFileNames& names, bool refused);

  // Opens what there is. False when the entries or the events do not open; the headers may be
  // missing. Throws std::bad_alloc.
  bool OpenForLoading();
  void Close();

  // Claims the files for a run. Throws std::bad_alloc.
  CacheClaim::Answer Claim();

  bool IsDetoured(const QString& archive) const;

  QString currentFilePath;
  QString hdrFileName;
  PlainFile hdrFile;
  QString id3FileName;
  PlainFile id3File;
  QString evtFileName;
  PlainFile evtFile;
  bool namesRefused = false;  // nothing is read or written under these names
  CacheClaim claim;

  // Where the cache of one archive lies while another run is working on its usual files.
  struct Detour {
    QString archive;  // empty: there is none
    QString cacheFolder;
  };
  Detour detour;
};
