#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "activity_bins.h"
#include "diagnosis.h"

// What a report tells. Texts are as recorded: any bytes. All times are archive times.

enum class BinState { kRecorded, kMissing, kNotIndexed };

// How active a stream was. A bin that is not recorded has the level 0.
struct ReportActivity {
  ActivityBins bins;
  std::vector<std::uint8_t> levels;  // 0-63
  std::vector<BinState> states;
};

struct ReportStream {
  std::uint8_t id = 0;
  std::string name;
  ReportActivity fine;    // for charts: at most 4,000 bins
  ReportActivity coarse;  // for tables: at most 48
};

struct ReportFile {
  ArchiveFacts facts;
  bool indexed = false;
};

// From when to when; `to` is not part of it.
struct ReportRange {
  std::uint64_t from = 0;
  std::uint64_t to = 0;
};

// Where nothing is recorded: within a file, or before it.
struct ReportGap {
  ReportRange range;
  std::string file;
};

struct ReportData {
  std::string source;
  std::optional<ReportRange> range;  // none: no file holds an index entry
  std::vector<ReportFile> files;     // by start time; those without entries at the end
  std::vector<ReportGap> gaps;       // in the range, ascending
  std::vector<ReportStream> streams;
  std::vector<RecordedEvent> events;  // the first ones of the range, ascending
  std::uint64_t eventCount = 0;       // of all in the range
  std::vector<Finding> findings;
};

// Goes through all files, gives those that have none an index, and asks the reader for the rest.
// Without a range from the first to the last entry. Throws ToolError when the source holds no
// archive or the user interrupts.
ReportData CollectReport(const HostOptions& host, const std::string& path,
                         const std::optional<ReportRange>& range);
