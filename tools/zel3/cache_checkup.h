#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "finding.h"
#include "stream_records.h"

enum class CacheState { kNone, kSound, kUnsound };

// The names of the three cache files of an archive, as a reader with this cache folder chooses
// them; an empty folder stands for the one beside the archive.
struct CacheNames {
  CacheNames(const std::string& archive, const std::string& cacheFolder);

  std::string entries;     // .id3
  std::string headers;     // .hdr
  std::string events;      // .evt
  std::string unfinished;  // what stays of an .evt file when a save does not end
};

// Compares the cache files of an archive with what a parser finds in it, record by record, so that
// it needs no memory for them.
class CacheCheckup {
 public:
  CacheCheckup(const std::string& archive, const std::string& cacheFolder);

  // What the archive holds, in file order.
  void OnHeader(std::uint64_t position);
  void OnIndex(std::uint64_t position, const IDX_T& index);
  void OnEvent();

  // At the end of the archive. One finding for each cache file that is not what it should be.
  CacheState Finish(Findings* findings);

 private:
  // One of the files on its way through.
  struct Records {
    Records(const std::string& path, std::size_t recordSize);

    // Reads one record. False at the end.
    bool Next(void* record);
    // Reads all that is left, and counts it.
    std::uint64_t CountLeft();

    std::string name;
    std::ifstream file;
    std::size_t recordSize;
    bool whole = true;     // a number of records, nothing more
    std::string mismatch;  // the first one; nothing is compared behind it
    std::uint64_t matched = 0;
    std::uint64_t inArchive = 0;
  };

  static void Compare(Records* records, const char* what, std::uint64_t position, bool matches);
  void FinishRecords(Records* records, const char* what, Findings* findings);
  void FinishEvents(Findings* findings);
  void Report(const std::string& kind, const std::string& name, const std::string& text,
              Findings* findings);

  const CacheNames mNames;
  Records mEntries;
  Records mHeaders;
  std::uint64_t mEvents = 0;
  bool mSound = true;
};
