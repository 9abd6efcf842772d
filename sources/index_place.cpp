#include "sources/index_place.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDateTime>
#include <QFile>
#include <algorithm>
#include <cstdint>

#include "indexer/file_index_store.h"
#include "indexer/plain_file.h"
#include "sources/archive_source.h"
#include "sources/cache_shape.h"
#include "sources/nowhere.h"
#include "sources/private_cache.h"
#include "sources/reader_path.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

// A reader never leaves anything beside archives that lie directly there.
constexpr char kReservedFolder[] = "/videodata";

struct NamedKind {
  std::string path;
  CacheKind kind;
};

std::string Local(const QString& path) {
  return QFile::encodeName(path).constData();
}

std::vector<NamedKind> FilesOf(const CacheNames& names) {
  return {{Local(names.entries), CacheKind::kEntries},
          {Local(names.headers), CacheKind::kHeaders},
          {Local(names.events), CacheKind::kEvents}};
}

using archive_source::CanonicalPath;
using archive_source::FolderOf;

// Whether cache files are named after the archive: false when the last dot of its path belongs to a
// folder or begins the archive's name. A link always has such a name.
bool HasNameOfItsOwn(const std::string& archive) {
  if (!reader_path::CanBeNamed(archive)) return true;
  const std::string name = archive_source::FileName(archive);
  const std::size_t dot = name.rfind('.');
  return dot != std::string::npos && dot > 0;
}

QDateTime ModifiedTime(const std::string& path) {
  const auto status = StatusOf(path);
  return status ? QDateTime::fromSecsSinceEpoch(status->stx_mtime.tv_sec) : QDateTime();
}

bool MayBe(const std::string& path, int how) {
  return faccessat(AT_FDCWD, path.c_str(), how, AT_EACCESS) == 0;
}

bool Exists(const std::string& path) {
  return StatusOf(path, Links::kNot).has_value();
}

// Whether a reader can make the cache files of an archive anew beside it.
bool CanBeMadeBeside(const std::string& archive) {
  if (!MayBe(FolderOf(archive), W_OK | X_OK)) return false;
  const std::vector<NamedKind> files = FilesOf(CacheOf(archive, ""));
  return std::all_of(files.begin(), files.end(), [](const NamedKind& file) {
    return !Exists(file.path) || MayBe(file.path, W_OK);
  });
}

// Why an archive cannot have its index beside it; empty when it can.
std::string WhyNotBeside(const std::string& archive) {
  // Its index has a place of its own in any case.
  if (!reader_path::CanBeNamed(archive)) return "";
  const std::string name = archive_source::FileName(archive);
  const std::string folder = FolderOf(archive);
  if (folder.substr(folder.find(':') + 1) == kReservedFolder)
    return "readers leave nothing in a folder " + std::string(kReservedFolder);
  if (!HasNameOfItsOwn(archive)) return name + " has no suffix to replace";
  const std::vector<std::string> strangers = StrangersBeside(archive);
  if (!strangers.empty()) return strangers.front() + " is not a cache file";
  if (HasIndex(archive, "") || CanBeMadeBeside(archive)) return "";
  return folder + " cannot be written";
}

}  // namespace

IndexPlace PlaceOfIndex(const std::string& askedFor, const std::string& archive) {
  IndexPlace place;
  if (!askedFor.empty()) {
    if (!HasNameOfItsOwn(archive)) {
      throw Failure(
          archive + " has no suffix, so its index would have no name of its own in a cache folder",
          kExitUsage);
    }
    place.folder = askedFor;
    return place;
  }
  place.whyNotBeside = WhyNotBeside(archive);
  if (place.whyNotBeside.empty()) return place;
  const private_cache::Place found = PrivatePlaceOf(archive);
  place.isPrivate = true;
  place.folder = found.path.empty() ? kNowhere : found.path;
  place.whyNotKept = found.whyNot;
  return place;
}

IndexPlace FindIndex(const std::string& askedFor, const std::string& archive) {
  IndexPlace place = PlaceOfIndex(askedFor, archive);
  if (!place.folder.empty() || HasIndex(archive, "")) return place;
  const private_cache::Place ofUser = PrivatePlaceOf(archive);
  if (!ofUser.path.empty() && HasIndex(archive, ofUser.path)) place.folder = ofUser.path;
  return place;
}

std::string CanonicalFolderOf(const std::string& archive) {
  return CanonicalPath(FolderOf(archive));
}

private_cache::Place PrivatePlaceOf(const std::string& archive) {
  // Without a suffix indexes are not named after their archives, so such a file has a place of its
  // own.
  const std::string of = HasNameOfItsOwn(archive) ? FolderOf(archive) : archive;
  return private_cache::Find(CanonicalPath(of));
}

CacheNames CacheOf(const std::string& archive, const std::string& folder) {
  const QString inFolder = QFile::decodeName(reader_path::IndexFolderOf(archive, folder).c_str());
  const QString withSlash = inFolder.isEmpty() ? inFolder : inFolder + QLatin1Char('/');
  if (reader_path::CanBeNamed(archive))
    return CacheNames(QFile::decodeName(archive.c_str()), withSlash);
  const std::string link = '/' + reader_path::LinkName(archive);
  return CacheNames(QString::fromLatin1(link.c_str()), withSlash, ModifiedTime(archive));
}

bool HasIndex(const std::string& archive, const std::string& folder) {
  constexpr std::uint64_t kSmallestEventGroupBytes = 11;
  const CacheNames names = CacheOf(archive, folder);
  PlainFile entries;
  PlainFile headers;
  PlainFile events;
  if (!entries.Open(names.entries, PlainFile::Mode::kRead) ||
      !events.Open(names.events, PlainFile::Mode::kRead)) {
    return false;
  }
  if (!headers.Open(names.headers, PlainFile::Mode::kRead)) return true;
  return headers.Size() >= sizeof(FilePosition) || entries.Size() >= sizeof(ZEL_ID3_REC) ||
         events.Size() > kSmallestEventGroupBytes;
}

std::vector<std::string> StrangersBeside(const std::string& archive) {
  std::vector<std::string> strangers;
  for (const NamedKind& file : FilesOf(CacheOf(archive, ""))) {
    if (file.path == archive || IsStranger(file.path, file.kind))
      strangers.push_back(archive_source::FileName(file.path));
  }
  return strangers;
}
