#pragma once

#include <QString>

// The names of the three cache files of an archive.
struct CacheNames {
  // `cacheFolder` ends with "/"; empty: beside the archive.
  CacheNames(const QString& archive, const QString& cacheFolder);

  QString name;     // of the archive in its cache: the files are named after it
  QString headers;  // .hdr
  QString entries;  // .id3
  QString events;   // .evt
};

// What stands beside an .evt file until that is whole. The housekeeping of a cache folder takes it
// for an .evt file, too.
QString UnfinishedName(const QString& events);
