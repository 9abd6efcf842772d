#include "sources/archive_source.h"

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include <QFile>
#include <QString>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "indexer/folder_listing.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace archive_source {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool IsPlainFile(const std::string& path) {
  const auto status = StatusOf(path);
  return status && S_ISREG(status->stx_mode);
}

// A link to an archive that is gone: people believe that it is there.
bool LeadsNowhere(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  return status && S_ISLNK(status->stx_mode) && !StatusOf(path);
}

bool HasWantedName(const char* name) {
  const char* const suffix = std::strrchr(name, '.');
  return name[0] != '.' && suffix != nullptr &&
         (strcasecmp(suffix, ".zel3") == 0 || strcasecmp(suffix, ".zel") == 0);
}

// The key by which names are ordered. A name that is not text is ordered by its bytes.
QString OrderOf(const std::string& name) {
  const QByteArray bytes(name.data(), static_cast<int>(name.size()));
  const QString text = DecodedName(bytes);
  return QFile::encodeName(text) == bytes ? text : QString::fromLatin1(bytes);
}

// In no order.
std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
  if (open == nullptr) return names;
  errno = 0;
  while (const dirent* const entry = readdir(open.get())) {
    const std::string path = folder + "/" + entry->d_name;
    if (HasWantedName(entry->d_name) &&
        (entry->d_type == DT_REG || IsPlainFile(path) || LeadsNowhere(path)))
      names.emplace_back(entry->d_name);
    errno = 0;
  }
  if (errno != 0) throw Failure("cannot look into " + folder + ": " + std::strerror(errno));
  return names;
}

}  // namespace

std::string Locate(const std::string& path) {
  const auto status = StatusOf(path);
  if (!status) throw Failure("nothing exists at " + path);
  if (!S_ISREG(status->stx_mode) && !S_ISDIR(status->stx_mode)) {
    throw Failure(path + " is neither a file nor a folder");
  }
  std::error_code failed;
  std::string absolute = std::filesystem::absolute(path, failed).lexically_normal().string();
  if (failed) throw Failure("cannot tell where " + path + " is: " + failed.message());
  // The path of a folder ends with its name, even where a shell has added slashes.
  while (absolute.size() > 1 && absolute.back() == '/') absolute.pop_back();
  return absolute;
}

bool IsFolder(const std::string& source) {
  const auto status = StatusOf(source);
  return status && S_ISDIR(status->stx_mode);
}

std::vector<std::string> Files(const std::string& source) {
  if (!IsFolder(source)) return {source};
  const std::string folder = source == "/" ? source : source + "/";
  std::vector<std::string> files;
  for (const std::string& name : NamesIn(source)) files.push_back(folder + name);
  SortByName(&files);
  return files;
}

void SortByName(std::vector<std::string>* paths) {
  std::vector<std::pair<QString, std::string>> ordered;
  for (const std::string& path : *paths) ordered.emplace_back(OrderOf(FileName(path)), path);
  std::sort(ordered.begin(), ordered.end());
  for (std::size_t i = 0; i < ordered.size(); ++i) (*paths)[i] = ordered[i].second;
}

std::string NoFilesIn(const std::string& source) {
  if (IsFolder(source)) {
    const std::unique_ptr<DIR, CloseFolder> open(opendir(source.c_str()));
    if (open == nullptr) return "cannot look into " + source + ": " + std::strerror(errno);
  }
  return "no archive in " + source;
}

void FailWithoutFiles(const std::string& source) {
  throw Failure(NoFilesIn(source));
}

bool IsKnownToParsers(const std::string& path) {
  const std::string suffix = ".zel3";
  return path.size() > suffix.size() &&
         strcasecmp(path.c_str() + path.size() - suffix.size(), suffix.c_str()) == 0;
}

std::string FileName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
}

std::string CanonicalPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path.c_str(), nullptr),
                                                              std::free);
  return canonical == nullptr ? path : canonical.get();
}

}  // namespace archive_source
