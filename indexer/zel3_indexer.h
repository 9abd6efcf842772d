#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>

#include "blocks/chunk_info.h"
#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/cache_files.h"
#include "indexer/cache_housekeeping.h"
#include "indexer/file_index_store.h"
#include "indexer/intake.h"
#include "indexer/plain_file.h"
#include "indexer/store_list.h"

// The time index of a recorded archive: one store per archive file, and the cache files that keep
// them.
//
// Used by one reader on one thread. Times are index times inside stores and archive times in
// lookups. Nothing is reported: an operation that fails returns false or 0.
class cZel3Indexer {
 public:
  cZel3Indexer() = default;
  cZel3Indexer(const cZel3Indexer&) = delete;
  cZel3Indexer& operator=(const cZel3Indexer&) = delete;
  virtual ~cZel3Indexer();

  // The archive's files (stores.cpp, header_walk.cpp; the list itself: store_list.h).

  // By start time; filed by Add_file_index and by those functions below that say so.
  const StoreList::Stores& Files() const { return stores.Files(); }
  // The file being opened or collected. It reaches Files() as a copy only.
  const sFile_Index_Store& Current() const { return intake.current; }
  // Something can be answered: the reader has opened its source and at least one store is filed.
  bool Is_ready() const;
  // Marks the streams that a raw archive header declares active in the current store. `header` is
  // the header's body; bytes beyond `size` count as zero.
  void Add_tmp_header(const char* header, std::size_t size);
  // Copies the stream set of a store into 32 bytes. REQUIRES: fileNumber < Files().size().
  void FillFileStreamMap(std::uint32_t fileNumber, std::uint8_t* map) const;
  // Put a bare entry at the front or the end of the current store, where it marks how far the
  // file's time range reaches, and file that store. Each does so by itself: between the two calls a
  // file is listed with its head only.
  void Add_first_index(const IDX_T& index);
  void Add_last_index(const IDX_T& index);
  // Files a copy of `store` by start time; a store of the same file name that is met on the way to
  // its place is replaced instead. Throws std::bad_alloc.
  void Add_file_index(const sFile_Index_Store& store);

  // Lookups (time_lookup.cpp; which file holds a time: file_spans.h). They find what a walk from
  // front to back finds, even where times do not ascend.

  // The entry that a request for archive time `time` means. kAtOrBefore: the entry at or before it;
  // kNeighbour: the one after that, or before it when not `forward`; any other type finds nothing.
  // Among equal times the last entry wins.
  //
  // In a gap between files it is the first entry of the next file; kNeighbour backward gives entry
  // 0 of the first file that ends before the gap, with the time of that file's last entry. In a
  // file of one entry kNeighbour backward gives entry number 0xFFFFFFFF with that entry's time.
  //
  // On failure `info` names no entry and has time 0; its flag bytes are never touched. On success
  // fileToIndex says whether the entry's file must be indexed first.
  bool IndexInfoFromTime(ArchiveTime time, std::uint32_t type, bool forward, TZEL3ChunkInfo* info);
  // The bytes [start, end) of an entry; both 0 when the entry lies in no stretch. False, with
  // nothing written, when there is no such entry or `end` is null.
  bool Index_pos_from_IndexId(IndexId indexId, FilePosition* start, FilePosition* end) const;
  // The position of the last header that stands before an entry and below 4 GiB; 0 when there is
  // none.
  FilePosition Header_pos_for_index(IndexId indexId) const;
  // Moves `pos` to the start of the stretch of the file that holds it and returns the stretch's
  // end; 0 and 0 when there is none.
  FilePosition Get_read_size(std::uint32_t fileNumber, FilePosition* pos) const;

  // Events and activity (events.cpp, activity.cpp).

  // Summarises the activity of one stream into `gist`, which holds a level for each of the
  // request's bins, all zero. True when an entry in range carried activity of the stream. Without
  // bins, and for a range of no length, only the request's fields are copied (false); a range that
  // ends before it begins is a huge one. Throws std::bad_alloc.
  bool Fill_activity(const TZEL3ActivityRequest& request, TActivityGist* gist) const;
  // Replaces `list` by all events, store by store; leaves it alone when nothing is filed. True when
  // there are any. Throws nothing: the list ends where memory does.
  bool Put_events_to_vector(QList<TEventListEntry>* list) const;

  // What an indexing run collects into the current store (intake.cpp). The last three throw
  // std::bad_alloc.

  // Empties it.
  void BeginIntake();
  // Where the next header or index record stands; one without a position stands where the one
  // before it does.
  void SetRecordPosition(FilePosition position);
  void Add_header(const HDR_T& header);
  void Add_index(const IDX_T& index);
  // `payload` holds `payloadSize` bytes; a block whose length says more is taken as far as they go.
  void Add_block(const DATA_T& block, const unsigned char* payload, std::size_t payloadSize);
  // The end of the file's last stretch.
  void CloseLastStretch(FilePosition endPosition);

  // Cache files (cache_open.cpp, cache_save.cpp; where they lie: cache_location.cpp; what they
  // hold: entries_file.h, headers_file.h, events_file.h).

  // Between the two calls files are only opened, and nobody else works in the cache folder: it is
  // listed once, not for every file.
  void BeginScan();
  void EndScan();
  // Makes the archive file at `path` current and loads its index from the cache. `endPosition`
  // closes its last stretch. True when the cache gave an index, which is then filed. When false the
  // file is still the current one, and an indexing run may follow. Throws std::bad_alloc.
  bool Open_file(const QString& path, FilePosition endPosition);
  // Makes the file current without looking at its cache. Always false.
  bool Open_file_draft(const QString& path);
  // Claims the current cache files for a run: they are made anew, empty. Where that is refused,
  // those in the cache folder of the temporary folder are claimed instead, and that folder stays
  // `cacheFolder`; where it is refused because another run is at work on the files, that folder
  // serves the current archive only, until EndRun. Files that the run already holds stay as they
  // are. False when both places refuse.
  bool Reopen_for_write();
  // Writes the current store to its cache files and lets go of them. The cache becomes valid in one
  // step at the very end, so that a crash or a full disk leaves none rather than half of one.
  void Save_files();
  // The run has ended, or has not begun: lets go of what Reopen_for_write has claimed.
  void EndRun();

  // Folder of the cache files; empty: beside the archive. As the host gave it until the first file
  // is opened, then with a trailing "/". An archive in a /videodata folder and a refused
  // Reopen_for_write set it for good.
  QString cacheFolder;
  // After a successful IndexInfoFromTime: the file to be indexed before the entry can be used, or
  // empty.
  QString fileToIndex;
  bool ready = false;  // set by the reader when it has opened its source

 private:
  void FileBareEntry(const IDX_T& index, int entryNumber);

  void Update_current_index_events(const EVT_FILE_DATA_T& group);

  void MakeCurrent(const QString& path);
  bool Load_ID3(EntryOrder* order);
  bool Load_EVT();
  bool Load_HDR();
  bool Set_empty_HDR();
  bool WriteCurrent(PlainFile& headers, PlainFile& entries, PlainFile& events);

  void NameCacheFiles(const QString& path);
  void Check_videodata_folder(const QString& path);
  void Check_ID3_cache_folder();
  QString Make_cached_index_file_names(const QString& path);

  StoreList stores;
  Intake intake;
  CacheFiles cache;  // of the file in `intake`
  CacheTrimmer trimmer;
  bool cacheFolderRefused = false;  // nothing is read from or written to `cacheFolder`
};
