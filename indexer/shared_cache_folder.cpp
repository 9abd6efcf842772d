#include "indexer/shared_cache_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>

namespace {

constexpr char kName[] = "Vorn auxillary files";
constexpr unsigned kOwnerOnly = 0700;

bool Look(const QByteArray& path, int flags, struct statx* status) {
  return statx(AT_FDCWD, path.constData(), flags, STATX_TYPE | STATX_MODE | STATX_UID, status) == 0;
}

bool EverybodyMayWrite(const QString& folder) {
  struct statx status;
  return !Look(QFile::encodeName(folder), 0, &status) || (status.stx_mode & S_IWOTH) != 0;
}

// What others may have put under the name, or may still put there, is not trusted.
bool IsTrusted(const struct statx& status) {
  const bool isOurs = status.stx_uid == geteuid() || status.stx_uid == 0;
  return isOurs && !S_ISLNK(status.stx_mode);
}

// Whether others cannot write to the folder; where it is ours, its group cannot from now on either.
bool Tighten(const QByteArray& path, const struct statx& status) {
  if ((status.stx_mode & S_IWOTH) != 0) return false;
  if (status.stx_uid != geteuid() || (status.stx_mode & S_IWGRP) == 0) return true;
  return chmod(path.constData(), status.stx_mode & 07777 & ~S_IWGRP) == 0;
}

// The folder of this name; the temporary folder itself where there is none; nothing when refused.
std::optional<QString> FolderOfName(const QDir& temporary, const QString& name) {
  const QString folder = temporary.filePath(name);
  const QByteArray path = QFile::encodeName(folder);
  if (mkdir(path.constData(), kOwnerOnly) == 0) return folder;
  struct statx status;
  if (Look(path, AT_SYMLINK_NOFOLLOW, &status)) {
    if (!IsTrusted(status)) return std::nullopt;
    if (S_ISDIR(status.stx_mode))
      return Tighten(path, status) ? std::optional<QString>(folder) : std::nullopt;
  }
  if (EverybodyMayWrite(temporary.path())) return std::nullopt;
  return temporary.path();
}

}  // namespace

std::array<QString, 2> SharedCacheFolderNames() {
  const QString name = QLatin1String(kName);
  return {name, name + QLatin1Char(' ') + QString::number(geteuid())};
}

std::optional<QString> SharedCacheFolder(const QString& temporary) {
  const QDir folder(temporary);
  for (const QString& name : SharedCacheFolderNames()) {
    if (auto shared = FolderOfName(folder, name)) return shared;
  }
  return std::nullopt;
}
