#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include "ini_file.h"
#include "temporary_folder.h"
#include "zel3_indexer.h"

namespace {

constexpr char kVideodataFolder[] = "/videodata";
constexpr char kCacheSubfolder[] = "Vorn auxillary files";
constexpr char kModificationTimeFormat[] = "yy.MM.dd hh-mm-ss ";

constexpr char kLimitKey[] = "ID3_HDR_EVT_total_MB";
constexpr int kDefaultLimitMegabytes = 100;
constexpr qint64 kBytesPerMegabyte = 1048576;

qint64 CacheLimit() {
  const QByteArray application = QCoreApplication::applicationName().toLocal8Bit();
  CIniFile settings(std::string(application.constData()) + "index_cache");
  settings.EnableDefValsCreation(true);
  return settings.GetInt(kLimitKey, kDefaultLimitMegabytes) * kBytesPerMegabyte;
}

// Deletes the oldest cache file of a folder when all of them together exceed the limit. One only:
// the size of that file is counted off once, and deleting it again would free nothing more.
void TrimCacheFolder(const QDir& folder) {
  const QStringList patterns{QLatin1String("*.id3"), QLatin1String("*.hdr"),
                             QLatin1String("*.evt")};
  qint64 total = 0;
  QString oldestName;
  QDateTime oldestTime;
  for (const QString& name : folder.entryList(patterns, QDir::Files, QDir::Unsorted)) {
    const QFileInfo info(folder.path() + QLatin1Char('/') + name);
    total += info.size();
    const QDateTime time = info.lastModified();
    // Of equal times the first one listed counts as the oldest.
    if (oldestName.isEmpty() || time < oldestTime) {
      oldestName = info.filePath();
      oldestTime = time;
    }
  }
  if (total > CacheLimit() && !oldestName.isEmpty()) QFile::remove(oldestName);
}

}  // namespace

void cZel3Indexer::Check_videodata_folder(const QString& path) {
  const QString folder = QFileInfo(path).absolutePath();
  const QString withoutDevice = folder.mid(folder.indexOf(QLatin1Char(':')) + 1);
  if (withoutDevice == QLatin1String(kVideodataFolder) && cacheFolder.isEmpty())
    cacheFolder = TemporaryFolder();
}

void cZel3Indexer::Check_ID3_cache_folder() {
  if (cacheFolder.isEmpty()) return;
  QDir folder(cacheFolder);
  if (cacheFolder == TemporaryFolder()) {
    folder.mkdir(QLatin1String(kCacheSubfolder));
    // When this fails, the temporary folder itself serves as the cache folder.
    folder.cd(QLatin1String(kCacheSubfolder));
  }
  TrimCacheFolder(folder);
  cacheFolder = folder.path() + QLatin1Char('/');
}

QString cZel3Indexer::Make_cached_index_file_names(const QString& path) {
  QString name = path;
  const int slash = path.lastIndexOf(QLatin1Char('/'));
  if (!cacheFolder.isEmpty() && slash >= 0) {
    const QDateTime modified = QFileInfo(path).lastModified();
    name = cacheFolder + modified.toString(QLatin1String(kModificationTimeFormat)) +
           path.mid(slash + 1);
  }
  // The whole name is searched for the dot: a file without extension is cut inside its time stamp.
  const QString stem = name.left(name.lastIndexOf(QLatin1Char('.')) + 1);
  hdrFileName = stem + QLatin1String("hdr");
  id3FileName = stem + QLatin1String("id3");
  evtFileName = stem + QLatin1String("evt");
  return name;
}
