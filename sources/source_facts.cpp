#include "sources/source_facts.h"

#include <algorithm>

#include "archive/archive_recognition.h"
#include "sources/archive_source.h"
#include "sources/cache_folder.h"
#include "system/file_handle.h"
#include "system/interruption.h"

SourceFacts::SourceFacts(const HostOptions& host, const std::string& path)
    : mPath(archive_source::Locate(path)),
      mIsFolder(archive_source::IsFolder(mPath)),
      mFiles(archive_source::Files(mPath)) {
  RequireFileHandles();
  std::vector<std::string> others;
  for (const std::string& file : mFiles) {
    interruption::Check();
    if (const auto why = WhyNotForReaders(file)) {
      mOthers[file] = *why;
      others.push_back(file);
    } else {
      mArchives.push_back(file);
    }
  }
  mIndexes = PlaceOfIndexes(cache_folder::Checked(host.cacheFolder), mArchives, others);
}

bool SourceFacts::HasAllIndexes() const {
  return std::all_of(mArchives.begin(), mArchives.end(),
                     [this](const std::string& archive) { return HasIndex(archive); });
}
