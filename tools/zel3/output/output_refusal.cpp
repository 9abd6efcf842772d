#include "output/output_refusal.h"

#include <QFile>
#include <QFileInfo>

#include "indexer/plain_file.h"
#include "system/failure.h"

namespace {

// The path with its folder as the system has it, so that two paths of one file that does not exist
// yet are equal.
QString InCanonicalFolder(const QString& path) {
  const QFileInfo info(path);
  return QFileInfo(info.absolutePath()).canonicalFilePath() + QLatin1Char('/') + info.fileName();
}

bool AreOne(const QString& path, const QString& other) {
  return InCanonicalFolder(path) == InCanonicalFolder(other) || IsSameFile(path, other);
}

void RefuseArchives(const std::vector<std::string>& files, const QString& target) {
  for (const std::string& file : files) {
    if (AreOne(QFile::decodeName(file.c_str()), target))
      throw Failure("the output is an archive of the source", kExitUsage);
  }
}

void RefuseCaches(const std::string& archive, const std::string& folder, const QString& target) {
  const CacheNames names = CacheOf(archive, folder);
  for (const QString& name : {names.entries, names.headers, names.events}) {
    if (AreOne(name, target)) throw Failure("the output is a cache file of the source", kExitUsage);
  }
}

}  // namespace

void RefuseToHarm(const SourceFacts& source, const std::string& output) {
  const QString target = QFile::decodeName(output.c_str());
  RefuseArchives(source.Files(), target);
  for (const std::string& archive : source.Archives()) {
    RefuseCaches(archive, "", target);
    if (!source.Indexes().folder.empty()) RefuseCaches(archive, source.Indexes().folder, target);
  }
}

void RefuseToHarm(const std::vector<std::string>& archives, const std::string& output) {
  const QString target = QFile::decodeName(output.c_str());
  RefuseArchives(archives, target);
  for (const std::string& archive : archives) RefuseCaches(archive, "", target);
}
