#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "archive/damage_scan.h"
#include "archive/kept_index.h"
#include "blocks/units.h"
#include "client/archive_client.h"
#include "indexer/plain_file.h"

// What is known of one archive of a source.
struct ServedArchive {
  enum class State {
    kNotIndexed,  // only its first and last index records have been seen
    kCached,      // it had its index
    kIndexed,     // its index has been built
    kLeftOut,     // it cannot be served
  };

  std::string path;
  State state = State::kNotIndexed;
  // Why it is left out, or would be if its index were needed: a clause that follows its name.
  std::string why;
  // The times of the earliest and of the latest entry.
  ArchiveTime start = 0;
  ArchiveTime end = 0;
  // Of an archive with its index.
  std::uint64_t entries = 0;
  ArchiveTime step = 0;          // typical, from one entry to the next; 0 without any
  std::uint64_t misplaced = 0;   // entries with a wrong time
  bool endsEarly = false;        // the archive goes on after what is known of it
  std::optional<Damage> damage;  // of one whose index has just been built, where it was looked for

  bool HasIndex() const { return state == State::kCached || state == State::kIndexed; }
  bool IsLeftOut() const { return state == State::kLeftOut; }
};

// An archive with its index, to be asked.
class OpenedArchive {
 public:
  // The index belongs to the open file. `makeReader` is called when the reader is first asked;
  // empty for an archive that no reader can serve.
  using MakeReader = std::function<std::unique_ptr<ArchiveClient>()>;
  OpenedArchive(std::unique_ptr<PlainFile> file, KeptIndex index, MakeReader makeReader);

  const PlainFile& File() const { return *mFile; }
  const KeptIndex& Index() const { return mIndex; }
  const IndexedSpan& Span() const { return mSpan; }

  // The entry that holds `time`. Nothing when the archive begins after it or has ended some units
  // of index time before it. The reader is asked; without one, and where times run backward, the
  // places of the entries decide.
  std::optional<std::size_t> EntryAt(ArchiveTime time);
  // The first entry at `time` or later, by the places of the entries.
  std::optional<std::size_t> FirstFrom(ArchiveTime time) const;

 private:
  std::optional<std::size_t> EntryByPlace(ArchiveTime time) const;

  std::unique_ptr<PlainFile> mFile;
  const KeptIndex mIndex;
  const IndexedSpan mSpan;
  const MakeReader mMakeReader;
  std::unique_ptr<ArchiveClient> mReader;
};
