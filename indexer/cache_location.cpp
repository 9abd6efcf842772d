#include <QDir>
#include <QFileInfo>

#include "cache_names.h"
#include "temporary_folder.h"
#include "zel3_indexer.h"

namespace {

constexpr char kVideodataFolder[] = "/videodata";
constexpr char kCacheSubfolder[] = "Vorn auxillary files";

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
  const CacheNames names(path, cacheFolder);
  hdrFileName = names.headers;
  id3FileName = names.entries;
  evtFileName = names.events;
  return names.name;
}
