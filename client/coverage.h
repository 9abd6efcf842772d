#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "blocks/units.h"
#include "client/archive_client.h"

// A stretch of time in which nothing is recorded. What cannot be told of it has no value.
struct UnrecordedStretch {
  ArchiveTime from = 0;
  std::optional<ArchiveTime> to;  // not part of it
};

// Tells where something was recorded: a quiet camera and a missing recording look the same in
// activity levels. A stretch of time is recorded when an index entry lies in it, or when it lies
// between two neighbouring entries that are not much further apart than the first two of their
// file, or after a file's last entry and before its end.
class Coverage {
 public:
  // Borrows `client`. `archives` are those of its list that have an index, `withoutIndex` the
  // others: no question is asked that would make the reader build one.
  Coverage(ArchiveClient* client, const std::vector<ListedArchive>& archives,
           const std::vector<ListedArchive>& withoutIndex);

  // Whether anything was recorded from `from` up to `to`. Asks the reader at most two questions,
  // and one more for each archive. Throws what the client throws.
  bool Reaches(ArchiveTime from, ArchiveTime to);

  // The stretch that `time` lies in; nothing when something is recorded then. Within a file it
  // begins a step after the entry before it, because that entry lasts about so long; that may be
  // after `time`. Asks as many questions as two calls of Reaches. Throws what the client throws.
  std::optional<UnrecordedStretch> GapAt(ArchiveTime time);

 private:
  struct Archive {
    ListedArchive listed;
    std::optional<ArchiveTime> firstStep;  // found out when needed; 0: a single entry
  };

  // When an archive begins, and how far it and those that begin before it reach.
  struct Span {
    ArchiveTime start;
    ArchiveTime latestEnd;
  };
  using Spans = std::vector<Span>;

  // The first that begins at `time` or later, and after it.
  Spans::const_iterator FirstSpanFrom(ArchiveTime time) const;
  Spans::const_iterator FirstSpanAfter(ArchiveTime time) const;
  bool HoldsAStart(ArchiveTime from, ArchiveTime to) const;
  // The last time up to `time` that lies in an archive.
  std::optional<ArchiveTime> LastHeldTime(ArchiveTime time) const;
  bool ContinuesTo(const FoundEntry& before, const std::optional<FoundEntry>& after,
                   ArchiveTime time);
  ArchiveTime FirstStep(Archive* archive);
  ArchiveTime StartOfGap(ArchiveTime time);
  std::optional<ArchiveTime> EndOfGap(ArchiveTime time);
  bool HasIndexAt(ArchiveTime time) const;
  std::optional<FoundEntry> LastUpTo(ArchiveTime time);
  std::optional<FoundEntry> FirstFrom(ArchiveTime time);

  ArchiveClient* const mClient;
  std::map<std::uint32_t, Archive> mArchives;  // by file number
  Spans mSpans;                                // ascending
  std::vector<ArchiveTime> mEnds;              // of the archives, ascending
  const std::vector<ListedArchive> mWithoutIndex;
};
