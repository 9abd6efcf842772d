#include "cache_housekeeping.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "ini_file.h"

namespace {

constexpr char kLimitKey[] = "ID3_HDR_EVT_total_MB";
constexpr int kDefaultLimitMegabytes = 100;
constexpr qint64 kBytesPerMegabyte = 1048576;

qint64 CacheLimit() {
  const QByteArray application = QCoreApplication::applicationName().toLocal8Bit();
  CIniFile settings(std::string(application.constData()) + "index_cache");
  settings.EnableDefValsCreation(true);
  return settings.GetInt(kLimitKey, kDefaultLimitMegabytes) * kBytesPerMegabyte;
}

}  // namespace

CacheHousekeeping::CacheHousekeeping(const QString& folder)
    : mFolder(folder), mLimit(CacheLimit()) {
  const QStringList patterns{QLatin1String("*.id3"), QLatin1String("*.hdr"),
                             QLatin1String("*.evt")};
  for (const QString& name : QDir(folder).entryList(patterns, QDir::Files, QDir::Unsorted)) {
    const QFileInfo info(folder + QLatin1Char('/') + name);
    mFiles.push_back({info.filePath(), info.lastModified(), info.size()});
    mTotal += info.size();
  }
  std::reverse(mFiles.begin(), mFiles.end());
  std::stable_sort(mFiles.begin(), mFiles.end(), [](const CacheFile& one, const CacheFile& other) {
    return other.time < one.time;
  });
}

void CacheHousekeeping::Trim() {
  if (mTotal <= mLimit || mFiles.empty()) return;
  const CacheFile& oldest = mFiles.back();
  if (!QFile::remove(oldest.path)) return;
  mTotal -= oldest.size;
  mFiles.pop_back();
}
