#include "sources/index_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <QFile>
#include <cerrno>
#include <chrono>
#include <thread>

#include "sources/archive_source.h"
#include "sources/cache_shape.h"
#include "sources/index_place.h"
#include "system/file_handle.h"
#include "system/file_status.h"
#include "system/interruption.h"

namespace index_lock {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(100);

}  // namespace

// Asks for the lock and gives it back at once, so that a reader that wants it hardly ever finds it
// taken.
bool IsLocked(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  if (!status || !S_ISREG(status->stx_mode)) return false;
  const FileHandle file = OpenForReading(path, O_NOFOLLOW);
  if (!file.IsOpen()) return false;
  if (flock(file.Get(), LOCK_SH | LOCK_NB) != 0) return errno == EWOULDBLOCK;
  flock(file.Get(), LOCK_UN);
  return false;
}

// Somebody else's file may be locked for reasons of its own.
bool IsHeld(const std::string& entriesFile) {
  return !BeginsAsStranger(entriesFile, CacheKind::kEntries) && IsLocked(entriesFile);
}

bool WaitForOthers(const std::string& archive, const std::string& folder,
                   const OnNotice& onNotice) {
  const std::string entriesFile = QFile::encodeName(CacheOf(archive, folder).entries).constData();
  bool waited = false;
  while (!HasIndex(archive, folder) && IsHeld(entriesFile)) {
    if (!waited) {
      onNotice("waiting for another process that indexes " + archive_source::FileName(archive));
    }
    waited = true;
    std::this_thread::sleep_for(kBetweenLooks);
    interruption::Check();
  }
  return waited;
}

}  // namespace index_lock
