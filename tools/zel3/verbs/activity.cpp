#include "verbs/activity.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <vector>

#include "blocks/stream_records.h"
#include "client/activity_bins.h"
#include "client/doubt.h"
#include "output/progress_bar.h"
#include "output/terminal_width.h"
#include "sources/archive_streams.h"
#include "system/failure.h"
#include "text/display_width.h"
#include "times/length_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"

namespace {

constexpr std::uint32_t kMostBins = 10000;

struct Bin {
  ArchiveTime time = 0;
  BinLevels levels;
  unsigned thousandths = 0;  // of the bin that were recorded

  bool IsRecorded() const { return thousandths > 0; }
  bool IsRecordedInPart() const { return IsRecorded() && thousandths < 1000; }
  double RecordedFraction() const { return thousandths / 1000.0; }
  double RoundedMean() const { return std::round(levels.mean * 100) / 100; }
};

// The range with its open ends closed; nothing when archives hold none of its times.
std::optional<BoundedRange> RangeWithin(const OpenRange& range, const Timeline& timeline) {
  ArchiveTime start = kEndOfTimes;
  ArchiveTime end = 0;
  for (const ServedArchive& archive : timeline.Archives()) {
    if (archive.IsLeftOut()) continue;
    start = std::min(start, archive.start);
    end = std::max(end, archive.end + std::max(archive.step, kArchiveTimePerIndexTime));
  }
  const BoundedRange within = {range.from.value_or(start),
                               std::min(range.to.value_or(end), kEndOfTimes)};
  if (within.from >= within.to) return std::nullopt;
  return within;
}

void Check(const ActivityOptions& options) {
  if (options.binCount && (*options.binCount == 0 || *options.binCount > kMostBins))
    throw Failure("the number of bins must be 1 to 10000", kExitUsage);
}

// A stream that does not exist would look quiet. It may exist where not all streams are known, and
// events have levels, too.
void RefuseUnknownStream(std::uint8_t streamId, const SourceFacts& source) {
  if (IsEventType(streamId)) return;
  const std::optional<std::vector<unsigned>> ids = AllStreamsOf(source);
  if (!ids || std::find(ids->begin(), ids->end(), streamId) != ids->end()) return;
  const std::string known =
      ids->empty() ? ": no file has any" : fmt::format(", only {}", fmt::join(*ids, ", "));
  throw Failure(fmt::format("there is no stream {}{}", streamId, known));
}

std::vector<Bin> Measure(const ActivityBins& bins, std::uint8_t streamId, Timeline* timeline) {
  ActivityMeasure measure({streamId}, bins, timeline);
  // While an archive is open, ask everything that needs its index.
  timeline->ForEach("measuring", [&](std::size_t number) {
    measure.Add(number);
    DoubtRecorded(number, bins.from, bins.to, timeline);
  });
  DoubtLevels(bins.from, bins.to, timeline);
  const std::vector<BinLevels> levels = measure.Levels().front();
  const std::vector<unsigned> thousandths = measure.RecordedThousandths();
  std::vector<Bin> measured(bins.count);
  for (std::uint32_t i = 0; i < bins.count; ++i)
    measured[i] = {bins.Start(i), levels[i], thousandths[i]};
  return measured;
}

// Without bins nothing is recorded there.
void PrintAsJson(const ActivityOptions& options, const std::optional<ActivityBins>& bins,
                 const std::vector<Bin>& rows, AskedSource* asked) {
  const TimeFormat times = options.style.Times();
  Json json;
  json["streamId"] = options.streamId;
  json["from"] = bins ? TimeJson(bins->from, times) : Json(nullptr);
  json["to"] = bins ? TimeJson(bins->to, times) : Json(nullptr);
  json["binWidth"] = bins ? Json(bins->width) : Json(nullptr);
  Json& list = json["bins"] = Json::array();
  for (const Bin& bin : rows) {
    Json row;
    row["time"] = TimeJson(bin.time, times);
    row["level"] = bin.levels.highest;
    row["meanLevel"] = bin.RoundedMean();
    row["recorded"] = bin.IsRecorded();
    row["recordedFraction"] = bin.RecordedFraction();
    list.push_back(std::move(row));
  }
  asked->PrintJson(json);
}

void PrintAsCsv(const std::vector<Bin>& bins, TimeFormat times, AskedSource* asked) {
  std::vector<std::vector<std::string>> rows{
      {"time", "level", "meanLevel", "recorded", "recordedFraction"}};
  for (const Bin& bin : bins) {
    rows.push_back({TimeText(bin.time, times), std::to_string(bin.levels.highest),
                    fmt::format("{}", bin.RoundedMean()), bin.IsRecorded() ? "true" : "false",
                    fmt::format("{:.3f}", bin.RecordedFraction())});
  }
  asked->PrintCsv(rows);
}

const char* Mark(const Bin& bin) {
  constexpr const char* kMarks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  constexpr unsigned kLevelsPerMark = 8;
  return bin.IsRecorded() ? kMarks[bin.levels.highest / kLevelsPerMark] : "·";
}

// A mark below each bin that was recorded only in part; empty when there is none.
std::string MarksBelow(const std::vector<Bin>& bins) {
  std::string marks;
  for (const Bin& bin : bins) marks += bin.IsRecordedInPart() ? '-' : ' ';
  marks.resize(marks.find_last_not_of(' ') + 1);
  return marks;
}

// In lines that the terminal has room for.
void PrintWrapped(const std::string& text, const std::optional<std::size_t>& terminal) {
  const auto lines = terminal ? WrappedToWidth(text, *terminal) : std::vector<std::string>{text};
  for (const std::string& line : lines) std::cout << line << '\n';
}

// Unless the user asked for a number, a terminal gets as many as fit on a line.
std::uint32_t MostBins(const ActivityOptions& options) {
  constexpr std::uint32_t kUsual = 96;
  if (options.binCount) return *options.binCount;
  const auto width =
      options.style.format == OutputFormat::kText ? TerminalWidth(STDOUT_FILENO) : std::nullopt;
  return width ? static_cast<std::uint32_t>(std::min<std::size_t>(*width, kMostBins)) : kUsual;
}

void PrintAsText(const ActivityOptions& options, const ActivityBins& bins,
                 const std::vector<Bin>& rows, AskedSource* asked) {
  asked->BeginText();
  const TimeFormat times = options.style.Times();
  const std::optional<std::size_t> terminal = TerminalWidth(STDOUT_FILENO);
  PrintWrapped(fmt::format("stream {} from {} to {}, one character for {}", options.streamId,
                           TimeText(bins.from, times), TimeText(bins.to, times),
                           LengthInSeconds(bins.width, times)),
               terminal);
  const std::size_t perLine = std::min<std::size_t>(terminal.value_or(rows.size()), rows.size());
  bool anyMarks = false;
  for (auto bin = rows.begin(); bin != rows.end();) {
    const auto left = static_cast<std::size_t>(rows.end() - bin);
    const auto end = bin + static_cast<std::ptrdiff_t>(std::min(perLine, left));
    std::string line;
    for (auto each = bin; each != end; ++each) line += Mark(*each);
    std::cout << line << '\n';
    const std::string marks = MarksBelow({bin, end});
    if (!marks.empty()) std::cout << marks << '\n';
    anyMarks = anyMarks || !marks.empty();
    bin = end;
  }
  PrintWrapped(std::string("▁ quiet  █ most active (levels 0-63)  · nothing recorded") +
                   (anyMarks ? "  - partly recorded" : ""),
               terminal);
}

int Activity(const HostOptions& host, const ActivityOptions& options, const OpenRange& askedRange,
             AskedSource* asked) {
  ServedSource source(host, asked->Given(), options.missingIndexes, asked->Teller());
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.IndexAll();
  timeline.RequireOne();
  const std::optional<BoundedRange> range = RangeWithin(askedRange, timeline);
  if (!range) timeline.FailWithNothing(kNothingRecorded, SecondsHint(askedRange, timeline));
  RefuseUnknownStream(options.streamId, source.Facts());
  const ActivityBins bins = CutIntoBins(range->from, range->to, MostBins(options));
  const std::vector<Bin> rows = Measure(bins, options.streamId, &timeline);
  if (std::none_of(rows.begin(), rows.end(), [](const Bin& bin) { return bin.IsRecorded(); }))
    timeline.FailWithNothing(kNothingRecorded, SecondsHint(askedRange, timeline));
  switch (options.style.format) {
    case OutputFormat::kCsv:
      PrintAsCsv(rows, options.style.Times(), asked);
      break;
    case OutputFormat::kText:
      PrintAsText(options, bins, rows, asked);
      break;
    default:
      PrintAsJson(options, bins, rows, asked);
      break;
  }
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

void PrintEmpty(const ActivityOptions& options, AskedSource* asked) {
  if (options.style.format == OutputFormat::kCsv) PrintAsCsv({}, options.style.Times(), asked);
  if (options.style.format == OutputFormat::kJson) PrintAsJson(options, std::nullopt, {}, asked);
}

}  // namespace

int RunActivity(const HostOptions& host, const ActivityOptions& options) {
  Check(options);
  const OpenRange range = RangeOf(options.range);
  return AnswerForEach(options.sources, options.style.format, [&](AskedSource* asked) {
    return RunOrPrintEmpty([&] { return Activity(host, options, range, asked); },
                           [&] { PrintEmpty(options, asked); });
  });
}
