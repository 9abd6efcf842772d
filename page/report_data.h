#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "blocks/units.h"
#include "checkup/diagnosis.h"
#include "client/activity_bins.h"
#include "client/recorded_hours.h"
#include "page/stream_places.h"

// What a report says. Texts are as recorded: any bytes.

// How active a stream was in each bin. A bin that is not recorded has the level 0.
struct ReportActivity {
  std::vector<std::uint8_t> levels;  // 0-63
  std::vector<BinState> states;
};

struct ReportStream {
  std::uint8_t id = 0;
  std::string name;
  ReportActivity fine;    // for charts, which merge bins when zoomed out
  ReportActivity coarse;  // for tables
};

// A range of time; `to` is not part of it.
struct ReportRange {
  ArchiveTime from = 0;
  ArchiveTime to = 0;

  bool Meets(ArchiveTime first, ArchiveTime last) const { return first < to && last >= from; }
};

// A time in which nothing is recorded, with the files in which recording ends before it and goes on
// after it: the same file for a gap within a file, none where nothing is recorded before or after
// it.
struct ReportGap {
  ReportRange range;
  std::optional<std::string> file;
  std::optional<std::string> nextFile;
};

// How much of a range is recorded, in files that have an index.
struct RecordedShare {
  ArchiveTime recorded = 0;
  ArchiveTime all = 0;
  bool isWhole = true;  // false: damage or a wrong time may hide more of it
};

// How many files have faults that cost data, and how many other findings there are.
struct DamagedFiles {
  std::uint64_t damaged = 0;  // bytes that no recorder writes
  std::uint64_t unreadable = 0;
  std::uint64_t cutOff = 0;
  std::uint64_t empty = 0;  // that hold no entry
  std::uint64_t otherErrors = 0;
  std::uint64_t otherWarnings = 0;

  bool None() const { return damaged + unreadable + cutOff + empty == 0; }
};

// A page shows only the first of many things.
template <class Item>
struct FirstOf {
  std::vector<Item> items;
  std::uint64_t count = 0;  // of all

  void CutTo(std::size_t most) {
    count = items.size();
    if (items.size() > most) items.resize(most);
  }
  bool IsCut() const { return items.size() < count; }
};

// All findings of one kind.
struct KindOfFindings {
  std::uint64_t count = 0;
  std::set<std::string> files;
};

struct ReportData {
  std::string source;
  std::optional<ReportRange> recorded;  // from the first to the last entry; none: no entries
  std::optional<ReportRange> range;     // none: no file holds an index entry
  ActivityBins fineBins = {};           // of the range: as fine as entries, if not too many
  ActivityBins coarseBins = {};         // of the range: at most 48
  // Those that overlap the range, by start time; then those without entries.
  std::vector<ReportFile> files;
  std::optional<RecordedShare> share;  // none: nothing is recorded
  FirstOf<ReportGap> gaps;             // of the range, by start time
  RecordedDays days;                   // of a range of more than two days
  std::vector<ReportStream> streams;
  FirstOf<RecordedEvent> events;  // of the range, ascending; long texts are shortened
  // How many other events of each type there are in each bin of this width. Bins are numbered from
  // time 0.
  ArchiveTime laterEventWidth = 0;
  std::map<std::pair<std::uint8_t, std::uint64_t>, std::uint64_t> laterEvents;
  FirstOf<Finding> findings;                    // that overlap the range or have no time
  std::map<FindingKind, KindOfFindings> kinds;  // of all findings
  SeverityCounts severities;                    // of all findings
  DamagedFiles damage;                          // of those in the range
};

// How many files have no index.
std::uint64_t CountNotIndexed(const ReportData& report);

// Goes through all files, builds missing indexes, and asks the reader for the rest. Without `from`
// the range begins with the first entry, without `to` it ends with the last one. REQUIRES: `from`
// is less than `to`. Throws Failure when the source holds no archive or the user interrupts.
ReportData CollectReport(ServedSource* source, const std::optional<ArchiveTime>& from,
                         const std::optional<ArchiveTime>& to, Progress* progress);
