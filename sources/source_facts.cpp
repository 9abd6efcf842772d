#include "sources/source_facts.h"

#include "archive/archive_recognition.h"
#include "sources/archive_source.h"
#include "sources/cache_folder.h"
#include "sources/reader_path.h"
#include "system/failure.h"
#include "system/file_handle.h"
#include "system/interruption.h"

SourceFacts::SourceFacts(const HostOptions& host, const std::string& path)
    : SourceFacts(host, GivenSourceAt(path)) {}

SourceFacts::SourceFacts(const HostOptions& host, const GivenSource& source) : mGiven(source) {
  RequireFileHandles();
  const std::string indexFolder = cache_folder::Checked(host.cacheFolder);
  for (const std::string& file : mGiven.files) {
    interruption::Check();
    std::shared_ptr<CheckMemory>& memory = mMemories[archive_source::FolderOf(file)];
    if (memory == nullptr) memory = std::make_shared<CheckMemory>(CanonicalFolderOf(file));
    Recognize(file, indexFolder);
  }
  if (!indexFolder.empty() && mMemories.size() > 1) RefuseSharedIndexes();
}

void SourceFacts::Recognize(const std::string& file, const std::string& indexFolder) {
  const std::string folder = reader_path::IndexFolderOf(file, indexFolder);
  if (const auto known =
          MemoryOf(file).Find(archive_source::FileName(file), LookAtArchive(file, folder))) {
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
  mPlaces[file] = FindIndex(indexFolder, file);
}

// In a folder for indexes, the name of an index holds only the name and time of its archive.
void SourceFacts::RefuseSharedIndexes() const {
  std::map<QString, std::string> archiveOf;
  for (const std::string& archive : mArchives) {
    const auto [other, isNew] = archiveOf.insert({CacheOf(archive).entries, archive});
    if (isNew) continue;
    throw Failure(other->second + " and " + archive +
                      " have the same name and time, so they would have one index in the cache "
                      "folder",
                  kExitUsage);
  }
}

std::string SourceFacts::NameOf(const std::string& file) const {
  const std::string folder = Path() == "/" ? Path() : Path() + "/";
  const bool isBelow = IsFolder() && file.compare(0, folder.size(), folder) == 0;
  return isBelow ? file.substr(folder.size()) : archive_source::FileName(file);
}

CheckMemory& SourceFacts::MemoryOf(const std::string& archive) const {
  return *mMemories.at(archive_source::FolderOf(archive));
}

std::optional<CheckedFacts> SourceFacts::Known(const std::string& archive) const {
  const auto known = mKnown.find(archive);
  if (known == mKnown.end()) return std::nullopt;
  return known->second;
}

void SourceFacts::Forget(const std::string& archive) {
  mKnown.erase(archive);
  MemoryOf(archive).Forget(archive_source::FileName(archive));
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
