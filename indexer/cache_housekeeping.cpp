#include "indexer/cache_housekeeping.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>

#include "sdk/ini_file.h"

namespace cache_limit_setting {

std::string FileName() {
  const QByteArray application = QCoreApplication::applicationName().toLocal8Bit();
  return std::string(application.constData()) + "index_cache";
}

}  // namespace cache_limit_setting

namespace {

constexpr std::int64_t kUnlimited =
    cache_limit_setting::kUnlimitedMegabytes * cache_limit_setting::kBytesPerMegabyte;

std::int64_t CacheLimit() {
  CIniFile settings(cache_limit_setting::FileName());
  settings.EnableDefValsCreation(true);
  return settings.GetInt(cache_limit_setting::kKey, cache_limit_setting::kDefaultMegabytes) *
         cache_limit_setting::kBytesPerMegabyte;
}

}  // namespace

CacheHousekeeping::CacheHousekeeping(const QString& folder)
    : mFolder(folder), mLimit(CacheLimit()) {
  if (mLimit == kUnlimited) return;
  mFiles = ListFolder(folder, {".id3", ".hdr", ".evt"}, false);
  for (const ListedFile& file : mFiles) mTotal += static_cast<std::int64_t>(file.size);
}

void CacheHousekeeping::Trim() {
  while (mTotal > mLimit && !mFiles.empty()) {
    if (!mSorted) PutOldestLast();
    const ListedFile& oldest = mFiles.back();
    const QString path = mFolder + QLatin1Char('/') + DecodedName(oldest.name);
    const bool removed = QFile::remove(path);
    if (!removed && QFile::exists(path)) return;
    mTotal -= static_cast<std::int64_t>(oldest.size);
    mFiles.pop_back();
    // Somebody else may have been there first.
    if (removed) return;
  }
}

void CacheHousekeeping::PutOldestLast() {
  std::reverse(mFiles.begin(), mFiles.end());
  std::stable_sort(
      mFiles.begin(), mFiles.end(),
      [](const ListedFile& one, const ListedFile& other) { return other.modified < one.modified; });
  mSorted = true;
}

void CacheTrimmer::EndScan() {
  mScanning = false;
  mListed.reset();
}

void CacheTrimmer::Trim(const QString& folder) {
  if (!mScanning) {
    CacheHousekeeping(folder).Trim();
    return;
  }
  if (mListed == nullptr || mListed->Folder() != folder)
    mListed = std::make_unique<CacheHousekeeping>(folder);
  mListed->Trim();
}
