#include "plain_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFileInfo>
#include <cerrno>

namespace {

// statx is the one call that copes with large files and late dates in the 32-bit build too.
bool Identify(const QString& path, struct statx* identity) {
  return statx(AT_FDCWD, QFile::encodeName(path).constData(), AT_STATX_SYNC_AS_STAT, STATX_INO,
               identity) == 0;
}

}  // namespace

bool IsNoPlainFile(const QString& path) {
  const QFileInfo info(path);
  return info.exists() && !info.isFile();
}

bool OpenPlainFile(QFile& file, const QString& path, QIODevice::OpenMode mode) {
  file.setFileName(path);
  return !IsNoPlainFile(path) && file.open(mode);
}

bool IsSameFile(const QString& path, const QString& other) {
  if (path == other) return true;
  struct statx first;
  struct statx second;
  return Identify(path, &first) && Identify(other, &second) && first.stx_ino == second.stx_ino &&
         first.stx_dev_major == second.stx_dev_major && first.stx_dev_minor == second.stx_dev_minor;
}

bool WaitForDisk(QFile& file) {
  // A file system that cannot do this has nothing to wait for.
  return fdatasync(file.handle()) == 0 || errno == EINVAL || errno == ENOTSUP;
}
