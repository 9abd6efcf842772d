#include "sources/private_cache.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "sources/cache_folder.h"
#include "system/file_status.h"

namespace private_cache {

namespace {

// Long enough that two folders never get the same name.
constexpr int kNameLength = 32;

std::string AbsolutePathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : std::string();
}

// Of all programs of the user.
std::string CacheHome() {
  const std::string cacheHome = AbsolutePathIn("XDG_CACHE_HOME");
  if (!cacheHome.empty()) return cacheHome;
  const std::string home = AbsolutePathIn("HOME");
  return home.empty() ? home : home + "/.cache";
}

std::string NameFor(const std::string& of) {
  const QByteArray path(of.data(), static_cast<int>(of.size()));
  const QByteArray hash = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex();
  return hash.left(kNameLength).constData();
}

std::string Parent(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

// What does not exist yet is safe: it will be made for its owner only.
bool IsSafe(const std::string& folder) {
  const auto status = StatusOf(folder, Links::kNot);
  if (!status) return errno == ENOENT;
  return S_ISDIR(status->stx_mode) && status->stx_uid == geteuid() &&
         (status->stx_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

Place Find(const std::string& of) {
  const std::string home = CacheHome();
  if (home.empty()) return {"", "neither XDG_CACHE_HOME nor HOME names a folder"};
  const std::string all = home + "/zel3";
  const std::string path = all + "/" + NameFor(of);
  if (!cache_folder::CanBeNamed(path))
    return {"", all + " is longer than 260 bytes or not in ASCII"};
  for (const std::string& folder : {all, path}) {
    if (!IsSafe(folder)) return {"", folder + " is not a folder that only this user can write"};
  }
  return {path, ""};
}

bool Prepare(Place* place) {
  if (place->path.empty()) return false;
  const bool isThere = cache_folder::Make(place->path) &&
                       faccessat(AT_FDCWD, place->path.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  const std::string reason = std::strerror(errno);
  if (isThere && IsSafe(Parent(place->path)) && IsSafe(place->path)) return true;
  *place = {"", "cannot write " + place->path + (isThere ? "" : ": " + reason)};
  return false;
}

}  // namespace private_cache
