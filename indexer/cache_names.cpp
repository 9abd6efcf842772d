#include "indexer/cache_names.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <climits>

namespace {

constexpr char kModificationTimeFormat[] = "yy.MM.dd hh-mm-ss ";

}  // namespace

CacheNames::CacheNames(const QString& archive, const QString& cacheFolder)
    : CacheNames(archive, cacheFolder,
                 cacheFolder.isEmpty() ? QDateTime() : QFileInfo(archive).lastModified()) {}

CacheNames::CacheNames(const QString& archive, const QString& cacheFolder,
                       const QDateTime& modified)
    : name(archive) {
  const int slash = archive.lastIndexOf(QLatin1Char('/'));
  if (!cacheFolder.isEmpty() && slash >= 0) {
    name = cacheFolder + modified.toString(QLatin1String(kModificationTimeFormat)) +
           archive.mid(slash + 1);
  }
  // The whole name is searched for the dot: a file without extension is cut inside its time stamp.
  const QString stem = name.left(name.lastIndexOf(QLatin1Char('.')) + 1);
  headers = stem + QLatin1String("hdr");
  entries = stem + QLatin1String("id3");
  events = stem + QLatin1String("evt");
}

QString UnfinishedName(const QString& cacheFile, int number) {
  const int nameStart = cacheFile.lastIndexOf(QLatin1Char('/')) + 1;
  const QString mark = number == 0 ? QString() : QLatin1Char('-') + QString::number(number);
  const QString ending =
      QLatin1String(".unfinished") + mark + QLatin1Char('.') + cacheFile.right(3);
  QByteArray name = QFile::encodeName(cacheFile.mid(nameStart));
  if (name.size() + ending.size() > NAME_MAX)
    name = QCryptographicHash::hash(name, QCryptographicHash::Md5).toHex();
  return cacheFile.left(nameStart) + QFile::decodeName(name) + ending;
}
