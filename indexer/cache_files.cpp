#include "indexer/cache_files.h"

void CacheFiles::Name(const QString& archive, const CacheFileNames& names, bool refused) {
  currentFilePath = archive;
  hdrFileName = names.headers;
  id3FileName = names.entries;
  evtFileName = names.events;
  namesRefused = refused;
}

bool CacheFiles::OpenForLoading() {
  if (namesRefused || !id3File.Open(id3FileName, PlainFile::Mode::kRead) ||
      !evtFile.Open(evtFileName, PlainFile::Mode::kRead)) {
    return false;
  }
  hdrFile.Open(hdrFileName, PlainFile::Mode::kRead);
  return true;
}

void CacheFiles::Close() {
  hdrFile.Close();
  id3File.Close();
  evtFile.Close();
}

CacheClaim::Answer CacheFiles::Claim() {
  if (namesRefused) return CacheClaim::Answer::kRefused;
  return claim.Take({hdrFileName, id3FileName, evtFileName}, currentFilePath);
}

bool CacheFiles::IsDetoured(const QString& archive) const {
  return !detour.archive.isEmpty() && detour.archive == archive;
}
