#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "checkup/events_checkup.h"
#include "checkup/finding.h"
#include "checkup/kept_records.h"
#include "indexer/cache_names.h"
#include "indexer/file_index_store.h"

enum class CacheState { kNone, kSound, kUnsound };

// How large an archive file is, in bytes.
struct ArchiveSize {
  std::uint64_t all = 0;
  std::uint64_t data = 0;  // without holes
};

// Compares the cache files of an archive with what a parser finds in it: record by record, so that
// it needs no memory for them, and by the rules of an indexing run.
class CacheCheckup {
 public:
  CacheCheckup(const CacheNames& names, const ArchiveSize& archive);

  // What the archive holds, in file order.
  void OnHeader(FilePosition position);
  void OnIndex(FilePosition position, const IDX_T& index);
  void OnData(const DATA_T& head, const unsigned char* payload);
  // Nothing can be found from `begin` up to `end`. What a cache has from there is lost, not wrong.
  void OnLost(FilePosition begin, FilePosition end);

  // At the end of the archive. One finding for each cache file that is not what it should be, and
  // one for all that hold only what is lost.
  CacheState Finish(Findings* findings);

 private:
  void EndEntry();
  void FinishRecords(const KeptRecords& records, const RecordKind& kind, const QString& path,
                     Findings* findings);
  void FinishEvents(Findings* findings);
  void AddLost(std::uint64_t count, const char* one, const char* many, const std::string& name);
  void ReportLost(Findings* findings);
  void Report(FindingKind kind, const std::string& name, const std::string& text,
              Findings* findings);

  const CacheNames mNames;
  KeptRecords mEntries;
  KeptRecords mHeaders;
  EventsCheckup mEvents;
  // The entry at hand: as an indexing run makes it, and as it is kept.
  ZEL_ID3_REC mEntry;
  ZEL_ID3_REC mKeptEntry;
  bool mComparesEntry = false;  // at its end
  bool mIsWrong = false;        // entries or headers are not what the archive holds or has lost
  // What the caches have of what is lost, and the name of the first one that has any.
  std::vector<std::string> mLost;
  std::string mLostIn;
  bool mSound = true;
};
