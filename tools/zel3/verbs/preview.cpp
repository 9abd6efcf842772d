#include "verbs/preview.h"

#include <algorithm>

#include "client/indexed_source.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

namespace {

constexpr std::uint32_t kMostPositions = 10000;

struct Position {
  ArchiveTime time = 0;
  std::optional<PreviewEntry> shown;
};

void Check(const PreviewOptions& options) {
  CheckTimeRange(options.from, options.to);
  if (options.count == 0 || options.count > kMostPositions)
    throw Failure("the number of positions must be 1 to 10000", kExitUsage);
}

// The first position is the start of the range; computed so that no product overflows.
ArchiveTime TimeOf(std::uint32_t number, const PreviewOptions& options) {
  const ArchiveTime span = options.to - options.from;
  return options.from + span / options.count * number +
         span % options.count * number / options.count;
}

void PrintAsJson(const std::vector<Position>& positions, TimeFormat times) {
  Json json;
  Json& list = json["positions"] = Json::array();
  for (const Position& position : positions) {
    Json row;
    row["time"] = TimeJson(position.time, times);
    Json& entry = row["entry"] = nullptr;
    if (position.shown) {
      entry["fileNumber"] = position.shown->entry.fileNumber;
      entry["entryNumber"] = position.shown->entry.entryNumber;
      entry["time"] = TimeJson(position.shown->entry.time, times);
      entry["timeReached"] = position.shown->timeReached;
    }
    list.push_back(std::move(row));
  }
  PrintJsonLine(json);
}

// `none` stands for each cell of an entry that there is not.
std::vector<std::vector<std::string>> AsRows(const std::vector<Position>& positions,
                                             TimeFormat times, const std::string& none) {
  std::vector<std::vector<std::string>> rows{
      {"position", "file", "entry", "entry time", "time reached"}};
  for (const Position& position : positions) {
    const std::string time = TimeText(position.time, times);
    if (position.shown) {
      const FoundEntry& entry = position.shown->entry;
      rows.push_back({time, std::to_string(entry.fileNumber), std::to_string(entry.entryNumber),
                      TimeText(entry.time, times), position.shown->timeReached ? "yes" : "no"});
    } else {
      rows.push_back({time, none, none, none, none});
    }
  }
  return rows;
}

void Print(const std::vector<Position>& positions, const OutputStyle& style) {
  const TimeFormat times = style.Times();
  if (style.format == OutputFormat::kText) {
    PrintTable(AsRows(positions, times, "none"));
  } else if (style.format == OutputFormat::kCsv) {
    PrintCsv(AsRows(positions, times, ""));
  } else {
    PrintAsJson(positions, times);
  }
}

}  // namespace

int RunPreview(const HostOptions& host, const PreviewOptions& options) {
  Check(options);
  const ServedSource served(host, options.source, MissingIndexes::kBuild, PrintNotice);
  ProgressBar progress;
  IndexedSource source(served, &progress);
  std::vector<Position> positions;
  for (std::uint32_t i = 0; i < options.count; ++i) {
    const ArchiveTime time = TimeOf(i, options);
    positions.push_back({time, source.Client().Preview(time, options.to)});
  }
  if (std::none_of(positions.begin(), positions.end(),
                   [](const Position& position) { return position.shown.has_value(); })) {
    source.FailWithNothing();
  }
  Print(positions, options.style);
  return source.IsComplete() ? kExitDone : kExitDamaged;
}
