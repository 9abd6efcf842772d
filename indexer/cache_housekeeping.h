#pragma once

#include <QDateTime>
#include <QString>
#include <vector>

// Keeps the cache files of one folder below the limit of the settings. What is in the folder is
// listed when the object is made, since listing costs more than all else.
class CacheHousekeeping {
 public:
  explicit CacheHousekeeping(const QString& folder);

  const QString& Folder() const { return mFolder; }

  // Deletes the oldest cache file when all of them together exceed the limit. One only: the size of
  // that file is counted off once, and deleting it again would free nothing more.
  void Trim();

 private:
  struct CacheFile {
    QString path;
    QDateTime time;
    qint64 size;
  };

  QString mFolder;
  std::vector<CacheFile> mFiles;  // the oldest last; of equal times the first one listed
  qint64 mTotal = 0;
  qint64 mLimit = 0;
};
