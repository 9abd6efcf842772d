#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "checkup/finding.h"
#include "indexer/cache_names.h"
#include "indexer/plain_file.h"

enum class CacheState { kNone, kSound, kUnsound };

// Compares the cache files of an archive with what a parser finds in it, record by record, so that
// it needs no memory for them.
class CacheCheckup {
 public:
  explicit CacheCheckup(const CacheNames& names);

  // What the archive holds, in file order.
  void OnHeader(FilePosition position);
  void OnIndex(FilePosition position, const IDX_T& index);
  void OnEvent();

  // At the end of the archive. One finding for each cache file that is not what it should be.
  CacheState Finish(Findings* findings);

 private:
  // One of the files on its way through.
  struct Records {
    // Sizes are bytes.
    Records(const QString& path, std::size_t recordSize);

    // Reads one record. False at the end.
    bool Next(void* record);
    // Reads all that is left, and counts it.
    std::uint64_t CountLeft();

    const std::string name;
    const std::size_t recordSize;
    PlainFile file;
    std::vector<char> portion;  // read from the file
    std::size_t taken = 0;      // bytes of the portion
    std::string mismatch;       // the first one; nothing is compared after it
    // Numbers of records.
    std::uint64_t matched = 0;
    std::uint64_t inArchive = 0;
  };

  static void Compare(Records* records, const char* what, FilePosition position, bool matches);
  void FinishRecords(Records* records, const char* what, Findings* findings);
  void FinishEvents(Findings* findings);
  void Report(FindingKind kind, const std::string& name, const std::string& text,
              Findings* findings);

  const CacheNames mNames;
  Records mEntries;
  Records mHeaders;
  std::uint64_t mEvents = 0;
  bool mSound = true;
};
