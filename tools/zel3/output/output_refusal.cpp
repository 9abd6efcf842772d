#include "output/output_refusal.h"

#include <QFile>
#include <filesystem>

#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

// The path with its folder as the system has it, so that two paths of one file that does not exist
// yet are equal.
std::string InCanonicalFolder(const std::string& path) {
  std::error_code ignored;
  const std::string absolute = std::filesystem::absolute(path, ignored).lexically_normal().string();
  return archive_source::CanonicalPath(archive_source::FolderOf(absolute)) + "/" +
         archive_source::FileName(absolute);
}

bool AreOne(const std::string& path, const std::string& other) {
  return InCanonicalFolder(path) == InCanonicalFolder(other) || AreOneFile(path, other);
}

void RefuseArchives(const std::vector<std::string>& files, const std::string& target) {
  for (const std::string& file : files) {
    if (AreOne(file, target)) throw Failure("the output is an archive of the source", kExitUsage);
  }
}

void RefuseCaches(const CacheNames& names, const std::string& target) {
  for (const QString& name : {names.entries, names.headers, names.events}) {
    if (AreOne(QFile::encodeName(name).constData(), target))
      throw Failure("the output is a cache file of the source", kExitUsage);
  }
}

}  // namespace

void RefuseToHarm(const SourceFacts& source, const std::string& output) {
  RefuseArchives(source.Files(), output);
  for (const std::string& archive : source.Archives()) {
    RefuseCaches(CacheOf(archive, ""), output);
    RefuseCaches(source.CacheOf(archive), output);
  }
}

void RefuseToHarm(const std::vector<std::string>& archives, const std::string& output) {
  RefuseArchives(archives, output);
  for (const std::string& archive : archives) RefuseCaches(CacheOf(archive, ""), output);
}
