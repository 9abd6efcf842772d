#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/file_window.h"
#include "archive/record_steps.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"

// A header or an index record with the whole records of data that follow it, up to the next marker.
struct SoundStretch {
  enum class Kind {
    kHeader,
    kIndex,
    kNothing,  // neither: all of it is lost
  };

  Kind kind = Kind::kNothing;
  FilePosition from = 0;
  FilePosition data = 0;      // after the header or index record
  FilePosition wholeTo = 0;   // whole records lead from `from` to here
  FilePosition to = 0;        // where the next stretch begins: the bytes in between are lost
  bool isCutOff = false;      // what is lost is a last record that is not whole
  bool isUnreadable = false;  // bytes of what is lost cannot be read
  // Bytes of whole records of data whose types the header in force does not declare.
  std::uint64_t undeclared = 0;
  FilePosition undeclaredAt = 0;  // of the first of them

  // Places between whole records, each so far after the one before it that the bytes between them
  // are worth a read; where much more lies between two, it is nothing but empty blocks in a hole of
  // the file.
  static constexpr std::uint64_t kBytesBetweenCuts = 256 << 10;
  std::vector<FilePosition> cuts;

  std::optional<ArchiveHeader> header;  // of a header
  IDX_T index;                          // of an index record

  std::uint64_t Lost() const { return to - wholeTo; }
};

// How many bytes of a stretch are not in holes of the file.
std::uint64_t DataOf(const SoundStretch& stretch, const PlainFile& file);

// Goes through an archive from stretch to stretch and finds as much that is whole as it can, where
// a parser would lose more:
//
// - A length that is wrong may lead over records that are whole. Where the framing leads nowhere,
//   the last records before that place are looked into, and a marker within one means that it is
//   the wrong one.
// - A type that is wrong costs its own record only, where lengths lead exactly to the next marker.
//
// Takes hardly more memory for a long stretch than for a short one, and time in proportion to the
// bytes.
class SoundStretches {
 public:
  // From the record at `from` up to `end`, by the header in force there, if there is one. Borrows
  // the file and a window on it.
  SoundStretches(const PlainFile& file, FileWindow* window, FilePosition from, FilePosition end,
                 const std::optional<ArchiveHeader>& header);
  SoundStretches(const SoundStretches&) = delete;
  SoundStretches& operator=(const SoundStretches&) = delete;

  // False at the end. Throws Failure when the user interrupts.
  bool Next(SoundStretch* stretch);

  // The types of data that the header in force declares; nothing without one.
  const std::optional<KnownTypes>& Known() const { return mKnown; }

 private:
  // How many of the last records before a place that leads nowhere are looked into for the wrong
  // one.
  static constexpr std::size_t kDoubted = 8;

  std::optional<ArchiveHeader> BelievedHeader(const RecordSteps::Record& record);
  void WalkData(RecordSteps* steps, SoundStretch* stretch);
  void Fail(const RecordSteps::Record& record, SoundStretch* stretch);
  bool IsKnown(std::uint8_t type) const { return mKnown && (*mKnown)[type]; }
  void Remember(FilePosition record) { mLast[mCount++ % kDoubted] = record; }
  FilePosition FirstDoubted(FilePosition otherwise) const;
  FilePosition StartOfDoubted(FilePosition within) const;
  bool LengthsLead(FilePosition from, FilePosition to, SoundStretch* stretch);
  static void Cut(const RecordSteps::Record& record, SoundStretch* stretch);
  FilePosition NextMarker(FilePosition from, bool* isUnreadable);

  const PlainFile& mFile;
  FileWindow& mWindow;
  FilePosition mPosition;
  const FilePosition mEnd;
  std::optional<KnownTypes> mKnown;
  std::array<FilePosition, kDoubted> mLast = {};  // of data, since the last marker
  std::uint64_t mCount = 0;
};
