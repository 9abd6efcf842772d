#include "verbs/preview.h"

#include <algorithm>

#include "client/doubt.h"
#include "client/timeline.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"

namespace {

constexpr std::uint32_t kMostPositions = 10000;

struct Position {
  ArchiveTime time = 0;
  std::optional<FoundEntry> entry;  // the first at that time or later; none before all archives
  std::string file;                 // with the entry
  bool timeReached = false;         // the entry is at the end of the range or after it
};

void Check(const PreviewOptions& options) {
  if (options.count == 0 || options.count > kMostPositions)
    throw Failure("the number of positions must be 1 to 10000", kExitUsage);
}

// The first position is the start of the range; computed so that no product overflows.
ArchiveTime TimeOf(std::uint32_t number, std::uint32_t count, const BoundedRange& range) {
  const ArchiveTime span = range.to - range.from;
  return range.from + span / count * number + span % count * number / count;
}

void PrintAsJson(const std::vector<Position>& positions, TimeFormat times, AskedSource* asked) {
  Json json;
  Json& list = json["positions"] = Json::array();
  for (const Position& position : positions) {
    Json row;
    row["time"] = TimeJson(position.time, times);
    Json& entry = row["entry"] = nullptr;
    if (position.entry) {
      entry["file"] = position.file;
      entry["fileNumber"] = position.entry->fileNumber;
      entry["entryNumber"] = position.entry->entryNumber;
      entry["time"] = TimeJson(position.entry->time, times);
      entry["timeReached"] = position.timeReached;
    }
    list.push_back(std::move(row));
  }
  asked->PrintJson(json);
}

// How rows are written: the headings, what fills the cells when there is no entry, and the words
// for whether the entry is at the end of the range or after it.
struct RowStyle {
  std::vector<std::string> heads;
  const char* none;
  const char* reached;
  const char* notReached;
};

std::vector<std::vector<std::string>> AsRows(const std::vector<Position>& positions,
                                             TimeFormat times, const RowStyle& style) {
  std::vector<std::vector<std::string>> rows{style.heads};
  for (const Position& position : positions) {
    const std::string time = TimeText(position.time, times);
    if (position.entry) {
      const FoundEntry& entry = *position.entry;
      rows.push_back({time, Escaped(position.file), std::to_string(entry.fileNumber),
                      std::to_string(entry.entryNumber), TimeText(entry.time, times),
                      position.timeReached ? style.reached : style.notReached});
    } else {
      rows.push_back({time, style.none, style.none, style.none, style.none, style.none});
    }
  }
  return rows;
}

void Print(const std::vector<Position>& positions, const OutputStyle& style, AskedSource* asked) {
  const TimeFormat times = style.Times();
  if (style.format == OutputFormat::kText) {
    asked->BeginText();
    PrintTable(AsRows(positions, times,
                      {{"position", "file", "number", "entry", "entry time", "end reached"},
                       "none",
                       "yes",
                       "no"}));
  } else if (style.format == OutputFormat::kCsv) {
    asked->PrintCsv(
        AsRows(positions, times,
               {{"time", "file", "fileNumber", "entryNumber", "entryTime", "timeReached"},
                "",
                "true",
                "false"}));
  } else {
    PrintAsJson(positions, times, asked);
  }
}

int Preview(const HostOptions& host, const PreviewOptions& options, const BoundedRange& range,
            AskedSource* asked) {
  ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.RequireOne();
  std::vector<Position> positions;
  for (std::uint32_t i = 0; i < options.count; ++i) {
    Position position;
    position.time = TimeOf(i, options.count, range);
    if (position.time >= timeline.Start()) position.entry = timeline.FirstFrom(position.time);
    if (position.entry) {
      DoubtFirst(*position.entry, &timeline);
      position.file = source.Facts().NameOf(timeline.Archives()[position.entry->fileNumber].path);
      position.timeReached = range.to <= position.entry->time;
    }
    positions.push_back(position);
  }
  if (std::none_of(positions.begin(), positions.end(),
                   [](const Position& position) { return position.entry.has_value(); })) {
    DoubtEnds(&timeline);
    timeline.FailWithNothing(kNothingRecorded, SecondsHint({range.from, range.to}, timeline));
  }
  Print(positions, options.style, asked);
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunPreview(const HostOptions& host, const PreviewOptions& options) {
  Check(options);
  const BoundedRange range = BoundedRangeOf(options.range);
  return AnswerForEach(options.sources, options.style.format, [&](AskedSource* asked) {
    return RunOrPrintEmpty([&] { return Preview(host, options, range, asked); },
                           [&] {
                             if (options.style.format != OutputFormat::kText)
                               Print(std::vector<Position>(), options.style, asked);
                           });
  });
}
