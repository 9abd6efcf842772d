#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/file_window.h"
#include "archive/kept_index.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"

// What was met while copying. Numbers of bytes are those of the archive.
struct CopyCounts {
  std::uint64_t entries = 0;            // at least in part
  std::uint64_t damagedEntries = 0;     // of which something is lost
  std::uint64_t lostBytes = 0;          // passed over: damaged, or not readable
  std::uint64_t cutOffBytes = 0;        // of a last record that is not whole
  std::uint64_t undeclaredEntries = 0;  // whole ones with data of streams that no header declares
  bool hasNoHeader = false;             // none was in force, or a damaged one
};

// Copies entries of one archive, whole record by whole record, as they stand in the file.
//
// An entry is whole when the lengths of its records lead from its index record exactly to the next
// entry, or to the end of the file. Of an entry that is not, the records before the first that
// makes no sense are copied.
class EntryCopy {
 public:
  using OnBytes = std::function<void(const unsigned char* bytes, std::size_t size)>;

  // Borrows the file and its index. `counts` is added to; `onBytes` gets whole records.
  EntryCopy(const PlainFile& file, const KeptIndex& index, CopyCounts* counts, OnBytes onBytes);

  // Copies the entries from `first` up to `end`, after the header that they need: what stands
  // before the first entry of the file, or the header in force, unless it has been copied.
  // REQUIRES: the ranges of one object ascend. Throws what `onBytes` throws, and Failure when the
  // user interrupts.
  void Copy(std::size_t first, std::size_t end);

 private:
  void CopyFront();
  void CopyHeaderAfterDamage(std::size_t entry);
  void CopyHeaderFor(std::size_t entry);
  void CopyEntry(std::size_t entry);
  FilePosition EndOf(std::size_t entry) const;
  bool StartsWithItsRecord(std::size_t entry);
  // Hands out the bytes of whole records from `from` up to `to`. Whether the records lead there.
  bool CopyStretch(FilePosition from, FilePosition to, bool* isUndeclared);
  void UseHeader(FilePosition position, const ArchiveHeader& header);
  void Add(FilePosition from, FilePosition to);
  void Flush();
  void CopyReadableRecords(FilePosition from, FilePosition to);
  void NoteDamage(std::size_t entry);
  // Notes bytes of the record at this position, or of all records from there on, as unreadable.
  void NoteUnreadable(FilePosition position, std::uint64_t size);

  const PlainFile& mFile;
  const KeptIndex& mIndex;
  CopyCounts* const mCounts;
  const OnBytes mOnBytes;
  FileWindow mWindow;
  std::optional<FilePosition> mHeader;  // the one in force that has been copied
  std::optional<KnownTypes> mKnown;     // by that header; nothing without one
  // Whole records that are still to be copied.
  FilePosition mFrom = 0;
  FilePosition mTo = 0;
  std::vector<unsigned char> mPortion;
  std::vector<bool> mIsDamaged;  // by entry
};
