#pragma once

#include <QString>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "indexer/folder_listing.h"

// The setting of the host that limits the cache files of a folder.
namespace cache_limit_setting {

constexpr char kKey[] = "ID3_HDR_EVT_total_MB";
constexpr int kDefaultMegabytes = 100;
// Means no limit. It is more than a disk holds, but the sizes of files that are mostly holes could
// add up to more.
constexpr int kUnlimitedMegabytes = std::numeric_limits<int>::max();
constexpr std::int64_t kBytesPerMegabyte = 1048576;

// The settings file that holds it, one for each application.
std::string FileName();

}  // namespace cache_limit_setting

// Keeps the cache files of one folder below the limit of the settings. The folder is listed when
// the object is made, since listing costs more than everything else; without a limit it is not
// listed.
class CacheHousekeeping {
 public:
  explicit CacheHousekeeping(const QString& folder);

  const QString& Folder() const { return mFolder; }

  // Deletes the oldest cache file when all of them together exceed the limit; only that one, even
  // when the others still exceed it. A file that somebody else has deleted meanwhile is passed
  // over. Links to devices are not listed, so they are never the oldest and stay.
  void Trim();

 private:
  // Of files of equal time, the one listed first counts as the oldest.
  void PutOldestLast();

  QString mFolder;
  std::int64_t mLimit;  // in bytes, like mTotal
  std::int64_t mTotal = 0;
  std::vector<ListedFile> mFiles;
  bool mSorted = false;  // the oldest file is the last of mFiles
};

// Trims cache folders. During a scan the files of a folder are listed once, not for every archive:
// nobody else works in it meanwhile.
class CacheTrimmer {
 public:
  void BeginScan() { mScanning = true; }
  void EndScan();
  // Throws std::bad_alloc.
  void Trim(const QString& folder);

 private:
  bool mScanning = false;
  std::unique_ptr<CacheHousekeeping> mListed;  // the folder trimmed last in this scan
};
