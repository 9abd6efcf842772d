#include "indexer/cache_rights.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QFile>

namespace {

constexpr unsigned kReadAndWrite = 06;
constexpr unsigned kOwner = 0600;

}  // namespace

CacheRights::CacheRights(const QString& archive) {
  struct statx status;
  if (statx(AT_FDCWD, QFile::encodeName(archive).constData(), 0, STATX_MODE | STATX_GID, &status) !=
      0) {
    return;
  }
  mGroup = status.stx_mode >> 3 & kReadAndWrite;
  mOthers = status.stx_mode & kReadAndWrite;
  mGroupId = status.stx_gid;
}

bool CacheRights::Make(const QString& path, PlainFile* file) const {
  if (!file->Open(path, PlainFile::Mode::kMake, kOwner | mGroup << 3 | mOthers)) return false;
  if (Narrow(*file)) return true;
  file->Close();
  QFile::remove(path);
  return false;
}

// When the file belongs to another group, that group's members are among the archive's others, and
// the archive's group is among the file's others.
bool CacheRights::Narrow(const PlainFile& file) const {
  struct statx made;
  if (statx(file.Handle(), "", AT_EMPTY_PATH, STATX_MODE | STATX_GID, &made) != 0) return false;
  if (made.stx_gid == mGroupId) return true;
  const unsigned most = kOwner | mOthers << 3 | (mGroup & mOthers);
  const unsigned rights = made.stx_mode & 0777;
  return (rights & ~most) == 0 || fchmod(file.Handle(), rights & most) == 0;
}
