#include "sources/source_facts.h"

#include "archive/archive_recognition.h"
#include "sources/archive_source.h"
#include "sources/cache_folder.h"
#include "sources/reader_path.h"
#include "system/file_handle.h"
#include "system/interruption.h"

SourceFacts::SourceFacts(const HostOptions& host, const std::string& path)
    : mPath(archive_source::Locate(path)),
      mIsFolder(archive_source::IsFolder(mPath)),
      mFiles(archive_source::Files(mPath)),
      mMemory(std::make_shared<CheckMemory>(mIsFolder ? archive_source::CanonicalPath(mPath)
                                                      : CanonicalFolderOf(mPath))) {
  RequireFileHandles();
  const std::string indexFolder = cache_folder::Checked(host.cacheFolder);
  for (const std::string& file : mFiles) {
    interruption::Check();
    Recognize(file, indexFolder);
  }
}

void SourceFacts::Recognize(const std::string& file, const std::string& indexFolder) {
  const std::string folder = reader_path::IndexFolderOf(file, indexFolder);
  if (const auto known =
          mMemory->Find(archive_source::FileName(file), LookAtArchive(file, folder))) {
    mArchives.push_back(file);
    mKnown[file] = *known;
    mPlaces[file].folder = indexFolder;
    return;
  }
  if (const auto why = WhyNotForReaders(file)) {
    mOthers[file] = *why;
    return;
  }
  mArchives.push_back(file);
  IndexPlace& place = mPlaces[file];
  place = PlaceOfIndex(indexFolder, file);
  if (!place.folder.empty() || ::HasIndex(file, "")) return;
  const private_cache::Place ofUser = PrivatePlaceOf(file);
  if (!ofUser.path.empty() && ::HasIndex(file, ofUser.path)) place.folder = ofUser.path;
}

std::optional<CheckedFacts> SourceFacts::Known(const std::string& archive) const {
  const auto known = mKnown.find(archive);
  if (known == mKnown.end()) return std::nullopt;
  return known->second;
}

void SourceFacts::Forget(const std::string& archive) {
  mKnown.erase(archive);
  mMemory->Forget(archive_source::FileName(archive));
}

const IndexPlace& SourceFacts::PlaceOf(const std::string& archive) const {
  static const IndexPlace beside;
  const auto place = mPlaces.find(archive);
  return place == mPlaces.end() ? beside : place->second;
}

std::string SourceFacts::IndexFolderOf(const std::string& archive) const {
  return reader_path::IndexFolderOf(archive, PlaceOf(archive).folder);
}

CacheNames SourceFacts::CacheOf(const std::string& archive) const {
  return ::CacheOf(archive, IndexFolderOf(archive));
}

bool SourceFacts::HasIndex(const std::string& archive) const {
  return ::HasIndex(archive, IndexFolderOf(archive));
}

void SourceFacts::MoveIndexOf(const std::string& archive, const std::string& folder) {
  mPlaces[archive].folder = folder;
}
