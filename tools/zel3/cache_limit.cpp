#include "cache_limit.h"

#include <QCoreApplication>
#include <QFile>
#include <cstdint>

#include "folder_listing.h"
#include "ini_file.h"
#include "settings_folder.h"

namespace cache_limit {

namespace {

// As readers have it.
constexpr char kKey[] = "ID3_HDR_EVT_total_MB";
constexpr int kDefaultMegabytes = 100;
constexpr std::int64_t kBytesPerMegabyte = 1048576;

int Megabytes(const std::string& settingsFolder, int otherwise) {
  settings_folder::Set(settingsFolder);
  const QByteArray application = QCoreApplication::applicationName().toLocal8Bit();
  CIniFile settings(std::string(application.constData()) + "index_cache");
  return settings.GetInt(kKey, otherwise);
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
  return bytes > 0 && bytes > Megabytes(settingsFolder, kDefaultMegabytes) * kBytesPerMegabyte;
}

}  // namespace cache_limit
