#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "checkup/diagnosis.h"
#include "client/activity_bins.h"
#include "page/stream_places.h"

// What a report tells. Texts are as recorded: any bytes.

// How active a stream was in each bin. A bin that is not recorded has the level 0.
struct ReportActivity {
  std::vector<std::uint8_t> levels;  // 0-63
  std::vector<BinState> states;
};

struct ReportStream {
  std::uint8_t id = 0;
  std::string name;
  ReportActivity fine;    // for charts
  ReportActivity coarse;  // for tables
};

// From when to when; `to` is not part of it.
struct ReportRange {
  ArchiveTime from = 0;
  ArchiveTime to = 0;

  bool Meets(ArchiveTime first, ArchiveTime last) const { return first < to && last >= from; }
};

// Where nothing is recorded: within a file, or before it.
struct ReportGap {
  ReportRange range;
  std::string file;
};

// Of many things a page shows the first ones only.
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

struct ReportData {
  std::string source;
  std::optional<ReportRange> recorded;  // from the first to the last entry; none: there is none
  std::optional<ReportRange> range;     // none: no file holds an index entry
  ActivityBins fineBins = {};           // of the range: at most 4,000
  ActivityBins coarseBins = {};         // of the range: at most 48
  // Those that meet the range, by start time; then those without entries.
  std::vector<ReportFile> files;
  FirstOf<ReportGap> gaps;  // that meet the range, by start time
  std::vector<ReportStream> streams;
  FirstOf<RecordedEvent> events;            // of the range, ascending; long texts are cut
  std::vector<ArchiveTime> laterEventBins;  // starts of the fine bins that hold the other events
  FirstOf<Finding> findings;                // that meet the range or have no time
  SeverityCounts severities;                // of all findings
};

// How many files have no index.
std::uint64_t CountNotIndexed(const ReportData& report);

// Goes through all files, gives those that have none an index, and asks the reader for the rest.
// Without `from` the range begins with the first entry, without `to` it ends with the last one.
// REQUIRES: `from` is below `to`. Throws Failure when the source holds no archive or the user
// interrupts.
ReportData CollectReport(ServedSource* source, const std::optional<ArchiveTime>& from,
                         const std::optional<ArchiveTime>& to, Progress* progress);
