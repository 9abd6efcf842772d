#include <QDir>
#include <QFileInfo>

#include "indexer/cache_names.h"
#include "indexer/shared_cache_folder.h"
#include "indexer/temporary_folder.h"
#include "indexer/zel3_indexer.h"

namespace {

constexpr char kVideodataFolder[] = "/videodata";

// An absolute path shows which folder it lies in without being taken apart.
bool MayLieInVideodata(const QString& path) {
  return !path.startsWith(QLatin1Char('/')) || path.contains(QLatin1String(kVideodataFolder));
}

}  // namespace

void cZel3Indexer::Check_videodata_folder(const QString& path) {
  if (!cacheFolder.isEmpty() || !MayLieInVideodata(path)) return;
  const QString folder = QFileInfo(path).absolutePath();
  const QString withoutDevice = folder.mid(folder.indexOf(QLatin1Char(':')) + 1);
  if (withoutDevice == QLatin1String(kVideodataFolder)) cacheFolder = TemporaryFolder();
}

void cZel3Indexer::Check_ID3_cache_folder() {
  cacheFolderRefused = false;
  if (cacheFolder.isEmpty()) return;
  QString folder = QDir(cacheFolder).path();
  if (cacheFolder == TemporaryFolder()) {
    const std::optional<QString> shared = SharedCacheFolder(folder);
    cacheFolderRefused = !shared;
    if (cacheFolderRefused) return;
    folder = *shared;
  }
  trimmer.Trim(folder);
  cacheFolder = folder + QLatin1Char('/');
}

QString cZel3Indexer::Make_cached_index_file_names(const QString& path) {
  const CacheNames names(path, cacheFolder);
  cache.Name(path, names, cacheFolderRefused && names.name.startsWith(cacheFolder));
  return names.name;
}

void cZel3Indexer::BeginScan() {
  trimmer.BeginScan();
}

void cZel3Indexer::EndScan() {
  trimmer.EndScan();
}
