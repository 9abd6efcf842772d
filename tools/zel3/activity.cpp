#include "activity.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "coverage.h"
#include "stream_records.h"
#include "tool_error.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t kMostBins = 10000;
constexpr std::uint64_t kEndOfTime = ArchiveTime(0xFFFFFFFF) + kArchiveTimePerIndexTime;

// All times are archive times.
struct Bins {
  std::uint64_t from;
  std::uint64_t to;
  std::uint64_t width;
  std::uint32_t count;

  std::uint64_t Start(std::uint32_t bin) const { return from + bin * width; }
  std::uint64_t End(std::uint32_t bin) const { return std::min(Start(bin + 1), to); }
};

struct Bin {
  std::uint64_t time = 0;
  unsigned level = 0;  // 0-63
  bool recorded = false;
};

// Bins of whole units of time: the last one may be shorter, and a short range has fewer of them.
Bins BinsOf(std::uint64_t from, std::uint64_t to, std::uint32_t most) {
  const std::uint64_t width = (to - from + most - 1) / most;
  return {from, to, width, static_cast<std::uint32_t>((to - from + width - 1) / width)};
}

Bins BinsFor(const ActivityOptions& options, ArchiveClient* client) {
  if (options.from && options.to)
    return BinsOf(*options.from, std::min(*options.to, kEndOfTime), options.bins);
  const ArchiveList list = client->ListOrFail();
  const std::uint64_t start = list.archives.front().startTime;
  std::uint64_t end = start + 1;
  for (const ListedArchive& archive : list.archives) end = std::max(end, archive.endTime);
  return BinsOf(start, end, options.bins);
}

void Check(const ActivityOptions& options) {
  if (options.from && options.to && *options.from >= *options.to)
    throw ToolError("FROM must be before TO", kExitUsage);
  if (options.bins == 0 || options.bins > kMostBins)
    throw ToolError("the number of bins must be 1 to 10000", kExitUsage);
}

// The reader counts an entry for the bin after the one in which it stands, and crowds into the last
// bin what stands behind it. So it is asked for two bins more, and the first and the last of its
// bins are of no use.
std::vector<std::uint8_t> Levels(const Bins& bins, std::uint8_t streamId, ArchiveClient* client) {
  const std::uint32_t asked = bins.count + 2;
  std::vector<std::uint8_t> levels =
      client->Activity(bins.from, bins.Start(asked), static_cast<std::int32_t>(asked), streamId);
  levels.erase(levels.begin());
  levels.pop_back();
  return levels;
}

std::vector<Bin> Measure(const Bins& bins, std::uint8_t streamId, IndexedSource* source) {
  const std::vector<std::uint8_t> levels = Levels(bins, streamId, &source->Client());
  Coverage coverage(&source->Client(), source->Archives());
  std::vector<Bin> measured(bins.count);
  for (std::uint32_t i = 0; i < bins.count; ++i) {
    measured[i].time = bins.Start(i);
    measured[i].recorded = coverage.Reaches(bins.Start(i), bins.End(i));
    if (measured[i].recorded) measured[i].level = levels[i];
  }
  return measured;
}

void PrintAsJson(const ActivityOptions& options, const Bins& bins, const std::vector<Bin>& rows) {
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
    list.push_back(std::move(row));
  }
  PrintJsonLine(json);
}

void PrintAsCsv(const std::vector<Bin>& bins, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"time", "level", "recorded"}};
  for (const Bin& bin : bins) {
    rows.push_back(
        {TimeText(bin.time, times), std::to_string(bin.level), bin.recorded ? "true" : "false"});
  }
  PrintCsv(rows);
}

const char* Mark(const Bin& bin) {
  constexpr const char* kMarks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  constexpr unsigned kLevelsPerMark = 8;
  return bin.recorded ? kMarks[bin.level / kLevelsPerMark] : "·";
}

std::string LengthText(std::uint64_t archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger) return std::to_string(archiveTime);
  return fmt::format("{}.{:03} s", archiveTime / 1000, archiveTime % 1000);
}

void PrintAsText(const ActivityOptions& options, const Bins& bins, const std::vector<Bin>& rows) {
  const TimeFormat times = options.style.Times();
  std::cout << fmt::format("stream {} from {} to {}, one character for {}\n", options.streamId,
                           TimeText(bins.from, times), TimeText(bins.to, times),
                           LengthText(bins.width, times));
  std::string line;
  for (const Bin& bin : rows) line += Mark(bin);
  std::cout << line << '\n' << "▁ quiet  █ most active (levels 0-63)  · nothing recorded\n";
}

}  // namespace

int RunActivity(const HostOptions& host, const ActivityOptions& options) {
  Check(options);
  IndexedSource source(host, options.source, options.missingIndexes);
  const bool pastTheEnd = options.from && *options.from >= kEndOfTime;
  if (source.Archives().empty() || pastTheEnd) source.FailWithNothing();
  const Bins bins = BinsFor(options, &source.Client());
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
