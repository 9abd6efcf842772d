#include "sources/cache_folder.h"

#include <dirent.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include "sources/archive_source.h"
#include "sources/cache_file_name.h"
#include "sources/cache_home.h"
#include "sources/cache_shape.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"

namespace cache_folder {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool IsCache(const std::string& folder, const std::string& name) {
  const std::optional<CacheFileName> parts = CacheFileNameFrom(name);
  if (!parts) return false;
  // A name that would be too long stands in an unfinished one as a number.
  const bool isNamedSo =
      BeginsWithTime(parts->stem) || (parts->isUnfinished && cache_home::IsName(parts->stem));
  return isNamedSo && !BeginsAsStranger(folder + "/" + name, parts->kind);
}

// The first entry by name that is not a cache file; empty when there is none.
std::string StrangerIn(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
  if (open == nullptr) throw Failure("cannot look into " + folder + ": " + std::strerror(errno));
  std::string first;
  while (const dirent* const entry = readdir(open.get())) {
    interruption::Check();
    const std::string name = entry->d_name;
    if (name == "." || name == ".." || (!first.empty() && first < name)) continue;
    if (!IsCache(folder, name)) first = name;
  }
  return first;
}

bool IsFolder(const std::string& path) {
  const auto status = StatusOf(path);
  return status && S_ISDIR(status->stx_mode);
}

std::string Absolute(const std::string& path) {
  const QString absolute =
      QDir::cleanPath(QDir().absoluteFilePath(QFile::decodeName(path.c_str())));
  return QFile::encodeName(absolute).constData();
}

}  // namespace

bool CanBeNamed(const std::string& path) {
  const auto isAscii = [](char character) { return static_cast<signed char>(character) > 0; };
  return path.size() <= archive_source::kLongestPath &&
         std::all_of(path.begin(), path.end(), isAscii);
}

std::string Checked(const std::string& askedFor) {
  if (askedFor.empty()) return askedFor;
  const std::string folder = Absolute(askedFor);
  if (!CanBeNamed(folder)) {
    throw Failure("the cache folder " + folder +
                      " cannot be used: readers take paths of at most 260 ASCII characters",
                  kExitUsage);
  }
  if (!StatusOf(folder)) return folder;
  if (!IsFolder(folder))
    throw Failure("the cache folder " + folder + " is not a folder", kExitUsage);
  const std::string stranger = StrangerIn(folder);
  if (stranger.empty()) return folder;
  throw Failure("the cache folder " + folder + " holds " + stranger +
                    ", which is not an index; readers delete old files there",
                kExitUsage);
}

bool Make(const std::string& path) {
  if (mkdir(path.c_str(), S_IRWXU) == 0) return true;
  if (errno == EEXIST) return IsFolder(path);
  const std::size_t slash = path.rfind('/');
  if (errno != ENOENT || slash == std::string::npos || slash == 0) return false;
  if (!Make(path.substr(0, slash))) return false;
  return mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST;
}

}  // namespace cache_folder
