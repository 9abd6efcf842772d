#include "sources/archive_source.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "system/failure.h"

namespace archive_source {

std::string Locate(const std::string& path) {
  const QFileInfo info(QFile::decodeName(path.c_str()));
  if (path.empty() || !info.exists()) throw Failure("nothing exists at " + path);
  if (!info.isFile() && !info.isDir()) {
    throw Failure(path + " is neither a file nor a folder");
  }
  std::string absolute = QFile::encodeName(info.absoluteFilePath()).constData();
  // A folder has a name, however a shell completes it.
  while (absolute.size() > 1 && absolute.back() == '/') absolute.pop_back();
  if (absolute.size() > kLongestPath)
    throw Failure("the path is longer than 260 bytes", kExitUsage);
  return absolute;
}

bool IsFolder(const std::string& source) {
  return QFileInfo(QFile::decodeName(source.c_str())).isDir();
}

std::vector<std::string> Files(const std::string& source) {
  if (!IsFolder(source)) return {source};
  const QStringList patterns{QLatin1String("*.zel3"), QLatin1String("*.zel")};
  std::vector<std::string> files;
  for (const QFileInfo& file :
       QDir(QFile::decodeName(source.c_str())).entryInfoList(patterns, QDir::Files, QDir::Name)) {
    files.push_back(QFile::encodeName(file.absoluteFilePath()).constData());
  }
  return files;
}

void FailWithoutFiles(const std::string& source) {
  throw Failure("no archive in " + source);
}

std::string FileName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace archive_source
