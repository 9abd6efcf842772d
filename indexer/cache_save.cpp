#include <new>

#include "indexer/entries_file.h"
#include "indexer/events_file.h"
#include "indexer/headers_file.h"
#include "indexer/temporary_folder.h"
#include "indexer/zel3_indexer.h"

bool cZel3Indexer::Reopen_for_write() {
  cache.Close();
  const CacheClaim::Answer answer = cache.Claim();
  if (answer == CacheClaim::Answer::kGiven) return true;
  const QString temporary = TemporaryFolder();
  if (temporary.isEmpty()) return false;
  const QString archive = cache.currentFilePath;
  // The caches of other archives stay where they are when only this one's is in use.
  if (answer == CacheClaim::Answer::kHeldByAnother || cache.IsDetoured(archive)) {
    cache.detour = {archive, temporary};
  } else {
    cacheFolder = temporary;
  }
  NameCacheFiles(archive);
  return cache.Claim() == CacheClaim::Answer::kGiven;
}

void cZel3Indexer::Save_files() {
  if (!Reopen_for_write()) return;
  cache.claim.Save([this](PlainFile& headers, PlainFile& entries, PlainFile& events) {
    try {
      return WriteCurrent(headers, entries, events);
    } catch (const std::bad_alloc&) {
      return false;
    }
  });
}

bool cZel3Indexer::WriteCurrent(PlainFile& headers, PlainFile& entries, PlainFile& events) {
  const sFile_Index_Store& current = intake.current;
  const bool headersWritten = WriteHeaderPositions(headers, current.headerPositions);
  intake.AppendPending();
  const bool entriesWritten = WriteEntries(entries, current.id3Records);
  return headersWritten && entriesWritten && WriteEvents(events, current.events);
}

void cZel3Indexer::EndRun() {
  cache.claim.Release();
  cache.detour = CacheFiles::Detour();
}
