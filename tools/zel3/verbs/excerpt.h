#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/record_copy.h"
#include "archive/sound_stretches.h"
#include "client/entry_ranges.h"
#include "client/served_archive.h"
#include "client/time_watch.h"
#include "verbs/new_archives.h"
#include "verbs/part_size.h"

// What is wanted in an excerpt.
struct WantedRecords {
  ArchiveTime from = 0;
  ArchiveTime to = 0;                     // not part of it
  KnownTypes types = KnownTypes().set();  // of the data

  bool HasAllTypes() const { return types.all(); }
};

// What an excerpt has come across. Bytes are counted in the archives.
struct ExcerptCounts {
  std::uint64_t entries = 0;         // written, at least in part
  std::uint64_t damagedEntries = 0;  // of these: those that have lost something
  // Entries without a header before them, so that no archive can have them.
  std::uint64_t headerlessEntries = 0;
  std::uint64_t lostBytes = 0;        // damaged, not readable, or of headerless entries
  std::uint64_t cutOffBytes = 0;      // of a last record that is not whole
  std::uint64_t undeclaredBytes = 0;  // data of streams that no header declares
  std::uint64_t unwantedBytes = 0;    // not wanted
  // Data before the first entry of an archive, skipped by its first header: it belongs to no entry.
  std::uint64_t entrylessBytes = 0;
  // Between entries written.
  std::vector<TimeLeap> gaps;
  std::vector<TimeLeap> backward;
  std::uint64_t misplaced = 0;  // entries with a time that is not between those of their neighbours

  bool IsWhole() const { return lostBytes == 0 && cutOffBytes == 0 && undeclaredBytes == 0; }
};

// Writes entries of archives into new ones. Each new archive has a stream header at its start, and
// further ones only where they say something new. Everything else is copied as it is, unless it is
// not wanted or not whole.
class Excerpt {
 public:
  // Borrows its arguments. `onBytes` is told how many bytes of the archives have been dealt with.
  Excerpt(const WantedRecords& wanted, const std::optional<PartSize>& partSize,
          NewArchives* archives, OnBytesRead onBytes);

  // Adds entries of the archive with this number. Throws Failure when something cannot be written,
  // and when the user interrupts.
  void Add(std::size_t number, const OpenedArchive& opened, const EntryRange& range);
  void Finish();

  const ExcerptCounts& Counts() const { return mCounts; }

 private:
  class Addition;

  void UseHeader(const std::optional<ArchiveHeader>& header);
  bool BeginsPart(ArchiveTime place, std::uint64_t size) const;
  void EndPart();

  const WantedRecords mWanted;
  const std::optional<PartSize> mPartSize;
  NewArchives& mArchives;
  const OnBytesRead mOnBytes;
  ExcerptCounts mCounts;
  TimeWatch mWatch;
  // The header in force, as it is to be written, and the last one written.
  std::optional<std::vector<unsigned char>> mHeader;
  std::optional<std::vector<unsigned char>> mWritten;
  // Of the archive that is being written.
  std::uint64_t mPartEntries = 0;
  std::uint64_t mPartBytes = 0;
  ArchiveTime mPartTime = 0;  // at which it begins
};
