#include "indexer/header_cuts.h"
#include "indexer/zel3_indexer.h"

namespace {

// Exchanges two folders until the end of a scope.
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
  scratchPos = 0;
  pendingId3RecValid = false;
  Make_current(path);
  if (namesRefused || !id3File.Open(id3FileName, PlainFile::Mode::kRead) ||
      !evtFile.Open(evtFileName, PlainFile::Mode::kRead)) {
    return false;
  }
  const bool headersOpen = hdrFile.Open(hdrFileName, PlainFile::Mode::kRead);

  // Each is loaded, whatever the others gave; any one of them makes the cache count. The headers
  // come first, because the entries are cut by them while they are loaded.
  const bool headersLoaded = headersOpen ? Load_HDR() : Set_empty_HDR();
  const bool recordsLoaded = Load_ID3();
  const bool eventsLoaded = Load_EVT();
  if (!recordsLoaded && !eventsLoaded && !headersLoaded) return false;
  if (!recordsLoaded && headersOpen)
    InsertHeaderCuts(current.headerPositions, &current.blockPositions);

  current.partial = false;
  const QVector<quint64>& cuts = current.blockPositions;
  current.cutsAscend = current.cutsAscend && (cuts.isEmpty() || cuts.last() <= endPosition);
  current.blockPositions.append(endPosition);
  Add_file_index(current);
  return true;
}

bool cZel3Indexer::Open_file_draft(const QString& path) {
  Make_current(path);
  current.partial = true;
  return false;
}

void cZel3Indexer::Make_current(const QString& path) {
  CloseCacheFiles();
  claim.Release();
  // Assigning empty containers spares the stores in `files` that share the old ones a copy.
  current.headerPositions = QVector<quint64>();
  current.id3Records = QVector<ZEL_ID3_REC>();
  current.events = QList<EVT_FILE_DATA_T>();
  groupPlaces.clear();
  current.streamMap = StreamMap{};
  current.indexInterval = 0;
  current.startTime = sFile_Index_Store::kNoStartTime;
  current.endTime = 0;
  current.blockPositions = QVector<quint64>();
  current.entriesAscend = current.headersAscend = current.cutsAscend = false;
  // Data that comes before the first index point of a run is keyed on zeros.
  pendingId3Rec = ZEL_ID3_REC();

  currentFilePath = path;
  current.fileName = path;
  NameCacheFiles(path);
  current.id3Path = id3FileName;
}

void cZel3Indexer::NameCacheFiles(const QString& path) {
  const ExchangedFolder exchanged(cacheFolder, IsDetoured(path) ? detour.cacheFolder : cacheFolder);
  Check_videodata_folder(path);
  Check_ID3_cache_folder();
  Make_cached_index_file_names(path);
}

void cZel3Indexer::CloseCacheFiles() {
  hdrFile.Close();
  id3File.Close();
  evtFile.Close();
}
