#include "sources/cache_home.h"

#include <unistd.h>

#include <QCryptographicHash>
#include <cerrno>
#include <cstdlib>

#include "system/file_status.h"

namespace cache_home {

namespace {

// Long enough that two folders never get the same name.
constexpr int kNameLength = 32;

std::string AbsolutePathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : std::string();
}

// The cache home of all the user's programs.
std::string OfAllPrograms() {
  const std::string cacheHome = AbsolutePathIn("XDG_CACHE_HOME");
  if (!cacheHome.empty()) return cacheHome;
  const std::string home = AbsolutePathIn("HOME");
  return home.empty() ? home : home + "/.cache";
}

}  // namespace

std::string Path() {
  const std::string home = OfAllPrograms();
  return home.empty() ? home : home + "/zel3";
}

std::string NameFor(const std::string& of) {
  const QByteArray path(of.data(), static_cast<int>(of.size()));
  const QByteArray hash = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex();
  return hash.left(kNameLength).constData();
}

bool IsName(const std::string& name) {
  return name.size() == kNameLength &&
         name.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool IsSafe(const std::string& folder) {
  const auto status = StatusOf(folder, Links::kNot);
  if (!status) return errno == ENOENT;
  return S_ISDIR(status->stx_mode) && status->stx_uid == geteuid() &&
         (status->stx_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace cache_home
