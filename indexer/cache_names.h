#pragma once

#include <QDateTime>
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
  // The same for an archive modified at that time, whether or not it exists.
  CacheNames(const QString& archive, const QString& cacheFolder, const QDateTime& modified);

  QString name;  // of the archive in its cache: the files are named after it
};

// The name of the file that is written beside a cache file until it is whole; another `number`
// gives another name. The housekeeping of a cache folder counts it as a cache file of the same
// kind.
QString UnfinishedName(const QString& cacheFile, int number = 0);
