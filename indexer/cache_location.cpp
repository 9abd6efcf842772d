#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include "temporary_folder.h"
#include "zel3_indexer.h"

namespace {

constexpr char kVideodataFolder[] = "/videodata";
constexpr char kCacheSubfolder[] = "Vorn auxillary files";
constexpr char kModificationTimeFormat[] = "yy.MM.dd hh-mm-ss ";

}  // namespace

void cZel3Indexer::Check_videodata_folder(const QString& path) {
  if (!cacheFolder.isEmpty()) return;
  const QString folder = QFileInfo(path).absolutePath();
  const QString withoutDevice = folder.mid(folder.indexOf(QLatin1Char(':')) + 1);
  if (withoutDevice == QLatin1String(kVideodataFolder)) cacheFolder = TemporaryFolder();
}

void cZel3Indexer::Check_ID3_cache_folder() {
  if (cacheFolder.isEmpty()) return;
  QDir folder(cacheFolder);
  if (cacheFolder == TemporaryFolder()) {
    folder.mkdir(QLatin1String(kCacheSubfolder));
    // When this fails, the temporary folder itself serves as the cache folder.
    folder.cd(QLatin1String(kCacheSubfolder));
  }
  if (!scanning) {
    CacheHousekeeping(folder.path()).Trim();
  } else {
    if (housekeeping == nullptr || housekeeping->Folder() != folder.path())
      housekeeping = std::make_unique<CacheHousekeeping>(folder.path());
    housekeeping->Trim();
  }
  cacheFolder = folder.path() + QLatin1Char('/');
}

void cZel3Indexer::Begin_scan() {
  scanning = true;
}

void cZel3Indexer::End_scan() {
  scanning = false;
  housekeeping.reset();
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
