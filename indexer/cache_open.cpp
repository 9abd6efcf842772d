#include "indexer/entries_file.h"
#include "indexer/events_file.h"
#include "indexer/file_cuts.h"
#include "indexer/headers_file.h"
#include "indexer/zel3_indexer.h"

namespace {

// Swaps two folders until the end of a scope.
class ExchangedFolder {
 public:
  ExchangedFolder(QString& one, QString& other) : mOne(one), mOther(other) { mOne.swap(mOther); }
  ~ExchangedFolder() { mOne.swap(mOther); }
  ExchangedFolder(const ExchangedFolder&) = delete;
  ExchangedFolder& operator=(const ExchangedFolder&) = delete;

 private:
  QString& mOne;
  QString& mOther;
};

}  // namespace

bool cZel3Indexer::Open_file(const QString& path, FilePosition endPosition) {
  intake.Reset();
  MakeCurrent(path);
  if (!cache.OpenForLoading()) return false;

  // Each is loaded, whatever the others gave; any one of them makes the cache count. The headers
  // come first, because they are cuts between the entries.
  EntryOrder entryOrder;
  const bool headersOpen = cache.hdrFile.IsOpen();
  const bool headersLoaded = headersOpen ? Load_HDR() : Set_empty_HDR();
  const bool entriesLoaded = Load_ID3(&entryOrder);
  const bool eventsLoaded = Load_EVT();
  if (!entriesLoaded && !eventsLoaded && !headersLoaded) return false;

  sFile_Index_Store& current = intake.current;
  if (!entriesLoaded && headersOpen) CutAtHeaders(&current);
  current.blockPositions.append(endPosition);
  current.partial = false;
  stores.File(current, entriesLoaded ? OrderOfLoaded(current, entryOrder) : OrderOf(current));
  return true;
}

bool cZel3Indexer::Open_file_draft(const QString& path) {
  intake.ResetForDraft();
  MakeCurrent(path);
  intake.current.partial = true;
  return false;
}

void cZel3Indexer::MakeCurrent(const QString& path) {
  cache.Close();
  cache.claim.Release();
  NameCacheFiles(path);
  intake.current.fileName = path;
  intake.current.id3Path = cache.id3FileName;
}

void cZel3Indexer::NameCacheFiles(const QString& path) {
  QString& folder = cache.IsDetoured(path) ? cache.detour.cacheFolder : cacheFolder;
  const ExchangedFolder exchanged(cacheFolder, folder);
  Check_videodata_folder(path);
  Check_ID3_cache_folder();
  Make_cached_index_file_names(path);
}

bool cZel3Indexer::Load_ID3(EntryOrder* order) {
  return LoadEntries(cache.id3File, &intake.current, order);
}

bool cZel3Indexer::Load_EVT() {
  return LoadEvents(cache.evtFile, &intake.current.events);
}

bool cZel3Indexer::Load_HDR() {
  return LoadHeaderPositions(cache.hdrFile, &intake.current.headerPositions);
}

// Without a .hdr file the file's start counts as a header.
bool cZel3Indexer::Set_empty_HDR() {
  intake.current.headerPositions = QVector<FilePosition>(1, 0);
  return true;
}
