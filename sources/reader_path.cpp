#include "sources/reader_path.h"

#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "sources/archive_source.h"
#include "sources/cache_home.h"
#include "sources/nowhere.h"
#include "sources/private_cache.h"
#include "sources/shared_fallback.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

private_cache::Place PrivatePlace(const std::string& archive) {
  return private_cache::Find(archive_source::CanonicalPath(archive_source::FolderOf(archive)));
}

// Also replaces one that leads elsewhere, in one step, so that another process always finds one.
bool MakeLink(const std::string& archive, const std::string& link) {
  if (AreOneFile(link, archive)) return true;
  const std::string unfinished = link + "." + std::to_string(getpid());
  unlink(unfinished.c_str());
  return symlink(archive.c_str(), unfinished.c_str()) == 0 &&
         rename(unfinished.c_str(), link.c_str()) == 0;
}

// Empty where none can be made.
std::string KeptLink(const std::string& archive) {
  private_cache::Place place = PrivatePlace(archive);
  if (!private_cache::Prepare(&place)) return "";
  const std::string link = place.path + "/" + reader_path::LinkName(archive);
  return reader_path::CanBeNamed(link) && MakeLink(archive, link) ? link : "";
}

}  // namespace

ReaderPath::ReaderPath(const std::string& archive, Links links) {
  if (reader_path::CanBeNamed(archive)) {
    mPath = archive;
    return;
  }
  if (links == Links::kKept) mPath = KeptLink(archive);
  if (!mPath.empty()) return;
  mFolder.emplace(shared_fallback::TemporaryFolder());
  mPath = mFolder->Path() + "/" + reader_path::LinkName(archive);
  if (!reader_path::CanBeNamed(mPath))
    throw Failure("there is no folder for links whose path is short and plain text");
  if (MakeLink(archive, mPath)) return;
  throw Failure("cannot create a link in " + mFolder->Path() + ": " + std::strerror(errno));
}

namespace reader_path {

bool CanBeNamed(const std::string& path) {
  return path.size() <= archive_source::kLongestPath &&
         QFile::encodeName(QFile::decodeName(path.c_str())) == path.c_str();
}

std::string LinkName(const std::string& archive) {
  const std::string name = archive_source::FileName(archive);
  std::string suffix = name.substr(std::min(name.size(), name.rfind('.')));
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return cache_home::NameFor(name) + (suffix == ".zel" ? suffix : ".zel3");
}

bool IsLinkName(const std::string& name) {
  const std::string stem = name.substr(0, name.find('.'));
  const std::string suffix = name.substr(stem.size());
  return cache_home::IsName(stem) && (suffix == ".zel" || suffix == ".zel3");
}

std::string IndexFolderOf(const std::string& archive, const std::string& folder) {
  if (!folder.empty() || CanBeNamed(archive)) return folder;
  const std::string place = PrivatePlace(archive).path;
  return place.empty() ? kNowhere : place;
}

}  // namespace reader_path
