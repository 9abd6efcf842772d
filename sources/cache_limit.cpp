#include "sources/cache_limit.h"

#include <QFile>
#include <cstdint>

#include "host/settings_folder.h"
#include "indexer/cache_housekeeping.h"
#include "indexer/folder_listing.h"
#include "sdk/ini_file.h"

namespace cache_limit {

namespace {

int Megabytes(const std::string& settingsFolder, int otherwise) {
  settings_folder::Set(settingsFolder);
  CIniFile settings(cache_limit_setting::FileName());
  return settings.GetInt(cache_limit_setting::kKey, otherwise);
}

}  // namespace

bool IsSet(const std::string& settingsFolder) {
  return Megabytes(settingsFolder, 0) == Megabytes(settingsFolder, 1);
}

bool IsExceeded(const std::string& folder, const std::string& settingsFolder) {
  std::int64_t bytes = 0;
  for (const ListedFile& file :
       ListFolder(QFile::decodeName(folder.c_str()), {".id3", ".hdr", ".evt"}, false)) {
    bytes += static_cast<std::int64_t>(file.size);
  }
  const int megabytes = Megabytes(settingsFolder, cache_limit_setting::kDefaultMegabytes);
  return bytes > 0 && bytes > megabytes * cache_limit_setting::kBytesPerMegabyte;
}

}  // namespace cache_limit
