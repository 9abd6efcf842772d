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
  // Nothing can be found from `begin` up to `end`. What a cache has of it is lost, and not wrong.
  void OnLost(FilePosition begin, FilePosition end);

  // At the end of the archive. One finding for each cache file that is not what it should be, and
  // one for all that hold only what is lost.
  CacheState Finish(Findings* findings);

 private:
  // What records are called.
  struct Noun {
    const char* one;
    const char* many;
  };

  // One of the files on its way through.
  struct Records {
    // Sizes are bytes.
    Records(const QString& path, std::size_t recordSize, const Noun& noun);

    // Reads one record. False at the end.
    bool Next(void* record);
    // Reads all that is left, and counts it.
    std::uint64_t CountLeft();
    // Goes on after the records that come next and lie in a stretch. `Record` is of `recordSize`.
    template <class Record>
    void Lose(FilePosition begin, FilePosition end);

    const std::string name;
    const std::size_t recordSize;
    const Noun noun;
    PlainFile file;
    std::vector<char> portion;  // read from the file
    std::size_t taken = 0;      // bytes of the portion
    std::string mismatch;       // the first one; nothing is compared after it
    bool isWrong = false;       // at the end: not what the archive holds or has lost
    // Numbers of records.
    std::uint64_t matched = 0;
    std::uint64_t lost = 0;  // with what the archive has lost
    std::uint64_t inArchive = 0;
  };

  static void Compare(Records* records, FilePosition position, bool matches);
  void FinishRecords(Records* records, Findings* findings);
  void FinishEvents(Findings* findings);
  void AddLost(std::uint64_t count, const Noun& noun, const std::string& name);
  void ReportLost(Findings* findings);
  void Report(FindingKind kind, const std::string& name, const std::string& text,
              Findings* findings);

  const CacheNames mNames;
  Records mEntries;
  Records mHeaders;
  std::uint64_t mEvents = 0;
  bool mHasLost = false;  // something of the archive
  // What the caches have of it, and the name of the first one that has any.
  std::vector<std::string> mLost;
  std::string mLostIn;
  bool mSound = true;
};
