#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "indexer/cache_names.h"
#include "indexer/file_index_store.h"

// The index of one archive, as its cache files keep it or as a run over it would collect it, for
// what the program finds out by itself. Entries are numbered from 0, in file order. There is at
// least one.
class KeptIndex {
 public:
  // Nothing when there are no entries, when the files cannot be read, or when they hold more than
  // an archive of `archiveBytes` bytes can have.
  static std::optional<KeptIndex> Load(const CacheNames& names, std::uint64_t archiveBytes);

  // What an indexing run would collect. Reads the whole archive. Nothing when there are no entries.
  // Throws what ScanArchive throws.
  static std::optional<KeptIndex> Collect(const std::string& archive);

  std::size_t Count() const { return mEntries.size(); }
  FilePosition PositionOf(std::size_t entry) const;
  // As the archive has it.
  ArchiveTime TimeOf(std::size_t entry) const { return ToArchiveTime(mEntries[entry].time); }
  // The time that puts the entry in order among the others.
  ArchiveTime PlaceOf(std::size_t entry) const {
    return mTimesAscend ? TimeOf(entry) : PlaceAmongOthers(entry);
  }
  // The largest level of a stream's blocks in the entry, 0-62; 0 when it has none.
  unsigned LevelOf(std::size_t entry, std::uint8_t streamId) const;

  // The position of the last header that stands before the entry; nothing without one.
  std::optional<FilePosition> HeaderFor(std::size_t entry) const;
  // In file order.
  const std::vector<FilePosition>& Headers() const { return mHeaders; }

 private:
  KeptIndex() = default;

  void NoteWhetherTimesAscend();
  ArchiveTime PlaceAmongOthers(std::size_t entry) const;

  std::vector<ZEL_ID3_REC> mEntries;
  bool mTimesAscend = true;  // then each entry stands at its own time
  std::vector<FilePosition> mHeaders;
};

// What the entries of an index say of the archive as a whole, by their places.
struct IndexedSpan {
  ArchiveTime start = 0;  // the earliest
  ArchiveTime end = 0;    // the latest: of the last entry, not the end of what is recorded
  ArchiveTime step = 0;   // the typical one; 0 without any
  std::uint64_t entries = 0;
  std::uint64_t misplaced = 0;  // entries whose own time is not their place
  std::uint64_t backward = 0;   // entries with an earlier place than the one before them

  bool TimesAscend() const { return misplaced == 0 && backward == 0; }
};

IndexedSpan SpanOf(const KeptIndex& index);
