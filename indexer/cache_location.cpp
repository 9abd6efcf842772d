#include <QDir>
#include <QFileInfo>

#include "indexer/cache_names.h"
#include "indexer/shared_cache_folder.h"
#include "indexer/temporary_folder.h"
#include "indexer/zel3_indexer.h"

namespace {

constexpr char kVideodataFolder[] = "/videodata";

}  // namespace

void cZel3Indexer::Check_videodata_folder(const QString& path) {
  if (!cacheFolder.isEmpty()) return;
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
  if (!scanning) {
    CacheHousekeeping(folder).Trim();
  } else {
    if (housekeeping == nullptr || housekeeping->Folder() != folder)
      housekeeping = std::make_unique<CacheHousekeeping>(folder);
    housekeeping->Trim();
  }
  cacheFolder = folder + QLatin1Char('/');
}

void cZel3Indexer::Begin_scan() {
  scanning = true;
}

void cZel3Indexer::End_scan() {
  scanning = false;
  housekeeping.reset();
}

QString cZel3Indexer::Make_cached_index_file_names(const QString& path) {
  const CacheNames names(path, cacheFolder);
  hdrFileName = names.headers;
  id3FileName = names.entries;
  evtFileName = names.events;
  namesRefused = cacheFolderRefused && names.name.startsWith(cacheFolder);
  return names.name;
}
