#include "verbs/activity.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <vector>

#include "blocks/stream_records.h"
#include "client/activity_bins.h"
#include "client/indexed_source.h"
#include "client/recorded_fraction.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_streams.h"
#include "system/failure.h"
#include "times/length_text.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

namespace {

constexpr std::uint32_t kMostBins = 10000;

struct Bin {
  ArchiveTime time = 0;
  unsigned level = 0;  // 0-63
  bool recorded = false;
  unsigned thousandths = 0;  // of it that were recorded

  bool IsRecordedInPart() const { return recorded && thousandths < 1000; }
  double RecordedFraction() const { return thousandths / 1000.0; }
};

ActivityBins BinsFor(const ActivityOptions& options, IndexedSource* source) {
  if (options.from && options.to)
    return CutIntoBins(*options.from, std::min(*options.to, kEndOfTimes), options.binCount);
  const std::optional<ArchiveList> list = source->Client().List();
  ArchiveTime start = kEndOfTimes;
  ArchiveTime end = 0;
  for (const ListedArchive& archive : list ? list->archives : source->Archives()) {
    start = std::min(start, archive.startTime);
    end = std::max({end, archive.startTime + 1, archive.endTime});
  }
  return CutIntoBins(start, end, options.binCount);
}

void Check(const ActivityOptions& options) {
  if (options.from && options.to) CheckTimeRange(*options.from, *options.to);
  if (options.binCount == 0 || options.binCount > kMostBins)
    throw Failure("the number of bins must be 1 to 10000", kExitUsage);
}

// A stream that is not there would look quiet. Where not all streams are known it may be there, and
// events have levels, too.
void RefuseUnknownStream(std::uint8_t streamId, const SourceFacts& source) {
  if (IsEventType(streamId)) return;
  const std::optional<std::vector<unsigned>> ids = AllStreamsOf(source);
  if (!ids || std::find(ids->begin(), ids->end(), streamId) != ids->end()) return;
  const std::string others =
      ids->empty() ? "nor any other" : fmt::format("only {}", fmt::join(*ids, ", "));
  throw Failure(fmt::format("there is no stream {}, {}", streamId, others));
}

std::vector<Bin> Measure(const ActivityBins& bins, std::uint8_t streamId, IndexedSource* source) {
  const std::vector<std::uint8_t> levels = ActivityLevels(bins, streamId, &source->Client());
  const std::vector<bool> recorded = RecordedBins(bins, source);
  const std::vector<unsigned> thousandths = RecordedThousandths(bins, recorded, source);
  std::vector<Bin> measured(bins.count);
  for (std::uint32_t i = 0; i < bins.count; ++i)
    measured[i] = {bins.Start(i), recorded[i] ? levels[i] : 0u, recorded[i], thousandths[i]};
  return measured;
}

void PrintAsJson(const ActivityOptions& options, const ActivityBins& bins,
                 const std::vector<Bin>& rows) {
  const TimeFormat times = options.style.Times();
  Json json;
  json["stream"] = options.streamId;
  json["from"] = TimeJson(bins.from, times);
  json["to"] = TimeJson(bins.to, times);
  json["binWidth"] = bins.width;
  Json& list = json["bins"] = Json::array();
  for (const Bin& bin : rows) {
    Json row;
    row["time"] = TimeJson(bin.time, times);
    row["level"] = bin.level;
    row["recorded"] = bin.recorded;
    row["recordedFraction"] = bin.RecordedFraction();
    list.push_back(std::move(row));
  }
  PrintJsonLine(json);
}

void PrintAsCsv(const std::vector<Bin>& bins, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"time", "level", "recorded", "recordedFraction"}};
  for (const Bin& bin : bins) {
    rows.push_back({TimeText(bin.time, times), std::to_string(bin.level),
                    bin.recorded ? "true" : "false",
                    fmt::format("{:.3f}", bin.RecordedFraction())});
  }
  PrintCsv(rows);
}

const char* Mark(const Bin& bin) {
  constexpr const char* kMarks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  constexpr unsigned kLevelsPerMark = 8;
  return bin.recorded ? kMarks[bin.level / kLevelsPerMark] : "·";
}

// A mark below each bin that is recorded in part; empty when there is none.
std::string MarksBelow(const std::vector<Bin>& bins) {
  std::string marks;
  for (const Bin& bin : bins) marks += bin.IsRecordedInPart() ? '-' : ' ';
  marks.resize(marks.find_last_not_of(' ') + 1);
  return marks;
}

void PrintAsText(const ActivityOptions& options, const ActivityBins& bins,
                 const std::vector<Bin>& rows) {
  const TimeFormat times = options.style.Times();
  std::cout << fmt::format("stream {} from {} to {}, one character for {}\n", options.streamId,
                           TimeText(bins.from, times), TimeText(bins.to, times),
                           LengthInSeconds(bins.width, times));
  std::string line;
  for (const Bin& bin : rows) line += Mark(bin);
  std::cout << line << '\n';
  const std::string marks = MarksBelow(rows);
  if (!marks.empty()) std::cout << marks << '\n';
  std::cout << "▁ quiet  █ most active (levels 0-63)  · nothing recorded"
            << (marks.empty() ? "" : "  - recorded in part") << '\n';
}

}  // namespace

int RunActivity(const HostOptions& host, const ActivityOptions& options) {
  Check(options);
  const ServedSource served(host, options.source, options.missingIndexes, PrintNotice);
  ProgressBar progress;
  IndexedSource source(served, &progress);
  const bool pastTheEnd = options.from && *options.from >= kEndOfTimes;
  if (source.Archives().empty() || pastTheEnd) source.FailWithNothing();
  RefuseUnknownStream(options.streamId, served.Facts());
  const ActivityBins bins = BinsFor(options, &source);
  const std::vector<Bin> rows = Measure(bins, options.streamId, &source);
  if (std::none_of(rows.begin(), rows.end(), [](const Bin& bin) { return bin.recorded; }))
    source.FailWithNothing();
  switch (options.style.format) {
    case OutputFormat::kCsv:
      PrintAsCsv(rows, options.style.Times());
      break;
    case OutputFormat::kText:
      PrintAsText(options, bins, rows);
      break;
    default:
      PrintAsJson(options, bins, rows);
      break;
  }
  return source.IsComplete() ? kExitDone : kExitDamaged;
}
