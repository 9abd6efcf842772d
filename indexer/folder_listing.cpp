#include "indexer/folder_listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <cstring>
#include <memory>

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool IsWanted(const char* name, std::initializer_list<const char*> suffixes) {
  const char* const suffix = std::strrchr(name, '.');
  if (suffix == nullptr || name[0] == '.') return false;
  return std::any_of(suffixes.begin(), suffixes.end(),
                     [suffix](const char* wanted) { return qstricmp(suffix, wanted) == 0; });
}

// A name that is not text in the system's encoding could not be opened again.
bool IsText(const QByteArray& name) {
  const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) { return c > 0; });
  return isPlain || QFile::encodeName(DecodedName(name)) == name;
}

std::int64_t Milliseconds(const struct statx_timestamp& time) {
  // Some file systems take any 64-bit number for a time.
  constexpr std::int64_t kFar = 9'000'000'000'000'000;
  const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, -kFar, kFar);
  return seconds * 1000 + time.tv_nsec / 1'000'000;
}

}  // namespace

QString DecodedName(const QByteArray& name) {
  return QFile::decodeName('/' + name).mid(1);
}

std::vector<ListedFile> ListFolder(const QString& folder,
                                   std::initializer_list<const char*> suffixes, bool readableOnly) {
  std::vector<ListedFile> files;
  const std::unique_ptr<DIR, CloseFolder> open(opendir(QFile::encodeName(folder).constData()));
  if (open == nullptr) return files;
  const int handle = dirfd(open.get());
  while (const dirent* const entry = readdir(open.get())) {
    if (!IsWanted(entry->d_name, suffixes)) continue;
    // statx copes with large files and late dates in the 32-bit build too.
    struct statx status;
    if (statx(handle, entry->d_name, 0, STATX_TYPE | STATX_SIZE | STATX_MTIME, &status) != 0 ||
        !S_ISREG(status.stx_mode) ||
        (readableOnly && faccessat(handle, entry->d_name, R_OK, 0) != 0)) {
      continue;
    }
    const QByteArray name(entry->d_name);
    if (IsText(name)) files.push_back({name, status.stx_size, Milliseconds(status.stx_mtime)});
  }
  return files;
}
