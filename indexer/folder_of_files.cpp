#include "indexer/folder_of_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>

#include "blocks/cancellation_hold.h"

namespace {

QByteArray FolderOf(const QString& path) {
  const int slash = path.lastIndexOf(QLatin1Char('/'));
  return slash < 0 ? QByteArray(".") : QFile::encodeName(path.left(slash + 1));
}

}  // namespace

bool MayMakeFilesBeside(const QString& path) {
  return faccessat(AT_FDCWD, FolderOf(path).constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool MayRemove(const QString& path) {
  struct statx folder;
  struct statx file;
  if (statx(AT_FDCWD, FolderOf(path).constData(), 0, STATX_MODE | STATX_UID, &folder) != 0 ||
      statx(AT_FDCWD, QFile::encodeName(path).constData(), AT_SYMLINK_NOFOLLOW, STATX_UID, &file) !=
          0) {
    return errno == ENOENT;
  }
  const uid_t user = geteuid();
  const bool onlyOwn = (folder.stx_mode & S_ISVTX) != 0 && user != 0;
  return !onlyOwn || folder.stx_uid == user || file.stx_uid == user;
}

bool SyncFolderOf(const QString& path) {
  const CancellationHold hold;
  const int folder = open(FolderOf(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return true;
  const bool synced = fsync(folder) == 0 || errno == EINVAL || errno == ENOTSUP;
  close(folder);
  return synced;
}
