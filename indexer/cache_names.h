#pragma once

#include <QString>

// The names of three cache files that belong together.
struct CacheFileNames {
  QString headers;  // .hdr
  QString entries;  // .id3
  QString events;   // .evt
};

// The names of the three cache files of an archive.
struct CacheNames : CacheFileNames {
  // `cacheFolder` ends with "/"; empty: beside the archive.
  CacheNames(const QString& archive, const QString& cacheFolder);

  QString name;  // of the archive in its cache: the files are named after it
};

// What stands beside a cache file until that is whole; with another number, another name. The
// housekeeping of a cache folder takes it for a cache file of the same kind, too.
QString UnfinishedName(const QString& cacheFile, int number = 0);
