#include "sources/other_index_places.h"

#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "indexer/shared_cache_folder.h"
#include "sources/archive_source.h"
#include "sources/private_cache.h"
#include "sources/shared_fallback.h"
#include "system/file_status.h"

namespace {

bool BelongsToAnother(const struct statx& status) {
  return status.stx_uid != geteuid() && status.stx_uid != 0;
}

std::string WhyNotToBeLookedInto(const struct statx& status) {
  if (BelongsToAnother(status)) return "a folder of another user";
  if ((status.stx_mode & (S_IWGRP | S_IWOTH)) != 0) return "where others can write";
  return "";
}

// What a private folder is named after: the folder of the archive, or the archive itself when its
// index is not named after it.
std::string PrivateOwner(const std::string& archive) {
  const std::size_t dot = archive_source::FileName(archive).rfind('.');
  const bool hasNameOfItsOwn = dot != std::string::npos && dot > 0;
  const std::string folder = archive.substr(0, std::max<std::size_t>(archive.rfind('/'), 1));
  const std::string& owner = hasNameOfItsOwn ? folder : archive;
  const QString canonical = QFileInfo(QFile::decodeName(owner.c_str())).canonicalFilePath();
  return canonical.isEmpty() ? owner : QFile::encodeName(canonical).constData();
}

std::vector<std::string> FallbackFolders() {
  std::vector<std::string> folders;
  const QString temporary = QFile::decodeName(shared_fallback::TemporaryFolder().c_str());
  if (temporary.isEmpty()) return folders;
  for (const QString& name : SharedCacheFolderNames())
    folders.push_back(QFile::encodeName(QDir(temporary).filePath(name)).constData());
  return folders;
}

}  // namespace

std::vector<OtherIndexPlace> OtherIndexPlaces(const std::string& archive,
                                              const std::string& inUse) {
  std::vector<std::string> folders = FallbackFolders();
  folders.insert(folders.begin(), private_cache::Find(PrivateOwner(archive)).path);
  std::vector<OtherIndexPlace> places;
  for (const std::string& folder : folders) {
    const auto status = StatusOf(folder, Links::kNot);
    if (folder != inUse && status && S_ISDIR(status->stx_mode))
      places.push_back({folder, WhyNotToBeLookedInto(*status)});
  }
  return places;
}

std::vector<std::string> LinksForIndexPlaces() {
  std::vector<std::string> links = FallbackFolders();
  links.erase(std::remove_if(links.begin(), links.end(),
                             [](const std::string& folder) {
                               const auto status = StatusOf(folder, Links::kNot);
                               return !status || !S_ISLNK(status->stx_mode);
                             }),
              links.end());
  return links;
}

std::string WhyNotToBeRead(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  if (!status) return "";
  if (S_ISLNK(status->stx_mode)) return "is a link";
  if (!S_ISREG(status->stx_mode)) return "is not a file";
  if (BelongsToAnother(*status)) return "belongs to another user";
  if (status->stx_nlink > 1) return "has another name, too";
  return "";
}
