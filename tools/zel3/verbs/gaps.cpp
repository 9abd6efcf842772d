#include "verbs/gaps.h"

#include <fmt/format.h>

#include <iostream>
#include <utility>
#include <vector>

#include "client/missing_time.h"
#include "json/json_line.h"
#include "output/progress_bar.h"
#include "output/standard_output.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/length_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"

namespace {

// A gap with names instead of numbers.
struct ShownGap {
  MissingStretch gap;
  std::optional<std::string> file;      // where recording ends before it
  std::optional<std::string> nextFile;  // where it goes on
};

struct ShownGaps {
  MissingTime missing;
  std::vector<ShownGap> listed;
  bool isWhole = true;  // false: more may be missing than is known

  std::size_t Shorter() const { return missing.gaps.size() - listed.size(); }
};

// Seconds as archive time.
ArchiveTime Seconds(std::uint32_t seconds) {
  return ArchiveTime{seconds} * kArchiveTimePerIndexTime;
}

ShownGaps LookFor(const OpenRange& range, const GapsOptions& options, const SourceFacts& source,
                  Timeline* timeline) {
  const auto nameOf = [&source, timeline](std::optional<std::size_t> number) {
    return number ? std::make_optional(source.NameOf(timeline->Archives()[*number].path))
                  : std::nullopt;
  };
  const std::optional<MissingTime> missing = FindMissingTime(range.from, range.to, timeline);
  if (!missing) timeline->FailWithNothing(kNothingRecorded, SecondsHint(range, *timeline));
  ShownGaps shown;
  shown.missing = *missing;
  for (const MissingStretch& gap : shown.missing.gaps) {
    if (gap.Length() > Seconds(options.longerThanSeconds))
      shown.listed.push_back({gap, nameOf(gap.before), nameOf(gap.after)});
  }
  shown.isWhole = timeline->IsWhole();
  return shown;
}

Json AsJson(const ShownGap& shown, TimeFormat times) {
  Json json;
  json["from"] = TimeJson(shown.gap.from, times);
  json["to"] = TimeJson(shown.gap.to, times);
  json["length"] = shown.gap.Length();
  json["file"] = shown.file ? Json(*shown.file) : Json(nullptr);
  json["nextFile"] = shown.nextFile ? Json(*shown.nextFile) : Json(nullptr);
  return json;
}

void PrintAsJson(const ShownGaps& shown, TimeFormat times, AskedSource* asked) {
  Json json;
  json["from"] = TimeJson(shown.missing.from, times);
  json["to"] = TimeJson(shown.missing.to, times);
  json["recorded"] = shown.missing.recorded;
  json["longest"] = shown.missing.Longest();
  json["shorterGaps"] = shown.Shorter();
  const std::string text = JsonText(json);
  asked->BeginJson();
  std::cout << text.substr(1, text.size() - 2) << R"(,"gaps":[)";
  const char* separator = "";
  for (const ShownGap& gap : shown.listed) {
    std::cout << std::exchange(separator, ",") << JsonText(AsJson(gap, times));
    CheckStandardOutput();
  }
  std::cout << ']';
  asked->EndJson();
}

void PrintAsJsonLines(const ShownGaps& shown, TimeFormat times, AskedSource* asked) {
  for (const ShownGap& gap : shown.listed) {
    asked->PrintJsonRow(AsJson(gap, times));
    CheckStandardOutput();
  }
}

void PrintAsCsv(const std::vector<ShownGap>& gaps, TimeFormat times, AskedSource* asked) {
  std::vector<std::vector<std::string>> rows{{"from", "to", "length", "file", "nextFile"}};
  for (const ShownGap& shown : gaps) {
    rows.push_back({TimeText(shown.gap.from, times), TimeText(shown.gap.to, times),
                    std::to_string(shown.gap.Length()), Escaped(shown.file.value_or("")),
                    Escaped(shown.nextFile.value_or(""))});
  }
  asked->PrintCsv(rows);
}

std::string LengthText(ArchiveTime length, TimeFormat times) {
  const bool isOfWholeSeconds = length % kArchiveTimePerIndexTime == 0;
  return isOfWholeSeconds ? LengthInHours(length, times) : LengthInSeconds(length, times);
}

std::string WhereText(const ShownGap& shown) {
  if (shown.file && shown.nextFile) {
    if (shown.gap.before == shown.gap.after) return "in " + Escaped(*shown.file);
    return "between " + Escaped(*shown.file) + " and " + Escaped(*shown.nextFile);
  }
  if (shown.file) return "after " + Escaped(*shown.file);
  return shown.nextFile ? "before " + Escaped(*shown.nextFile) : "";
}

std::string SummaryText(const ShownGaps& shown, const GapsOptions& options) {
  const TimeFormat times = options.style.Times();
  const MissingTime& missing = shown.missing;
  if (missing.gaps.empty()) {
    return fmt::format("{} from {} to {}",
                       shown.isWhole ? "nothing is missing" : "nothing was found missing",
                       TimeText(missing.from, times), TimeText(missing.to, times));
  }
  const ArchiveTime all = missing.to - missing.from;
  // Rounded down, so that only a whole range has 100 %.
  const std::uint64_t thousandths = missing.recorded * 1000 / all;
  std::string text = fmt::format(
      "{} of {} recorded ({}.{} %), {}, the longest {}", LengthText(missing.recorded, times),
      LengthText(all, times), thousandths / 10, thousandths % 10,
      Counted(missing.gaps.size(), "gap"), LengthText(missing.Longest(), times));
  if (shown.Shorter() > 0) {
    text += fmt::format("; {} of them {} not longer than {}", shown.Shorter(),
                        shown.Shorter() == 1 ? "is" : "are",
                        LengthText(Seconds(options.longerThanSeconds), times));
  }
  return text;
}

void PrintAsText(const ShownGaps& shown, const GapsOptions& options, AskedSource* asked) {
  asked->BeginText();
  const TimeFormat times = options.style.Times();
  if (!shown.listed.empty()) {
    LongTable table({"from", "to", "length", "where"}, {});
    for (const ShownGap& gap : shown.listed) {
      table.Add({TimeText(gap.gap.from, times), TimeText(gap.gap.to, times),
                 LengthText(gap.gap.Length(), times), WhereText(gap)});
      CheckStandardOutput();
    }
    table.Finish();
  }
  std::cout << SummaryText(shown, options) << '\n';
}

void Print(const ShownGaps& shown, const GapsOptions& options, AskedSource* asked) {
  switch (options.style.format) {
    case OutputFormat::kText:
      return PrintAsText(shown, options, asked);
    case OutputFormat::kCsv:
      return PrintAsCsv(shown.listed, options.style.Times(), asked);
    case OutputFormat::kJson:
      return PrintAsJson(shown, options.style.Times(), asked);
    case OutputFormat::kJsonLines:
      return PrintAsJsonLines(shown, options.style.Times(), asked);
  }
}

int Gaps(const HostOptions& host, const GapsOptions& options, const OpenRange& range,
         AskedSource* asked) {
  ServedSource source(host, asked->Given(), options.missingIndexes, asked->Teller());
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.IndexAll();
  timeline.RequireOne();
  const ShownGaps shown = LookFor(range, options, source.Facts(), &timeline);
  Print(shown, options, asked);
  const std::string hint = SecondsHint(range, timeline);
  if (shown.missing.recorded == 0 && !hint.empty()) asked->Tell(kNothingRecorded + hint);
  return shown.isWhole ? kExitDone : kExitDamaged;
}

// Nothing is known.
void PrintEmpty(const GapsOptions& options, AskedSource* asked) {
  if (options.style.format == OutputFormat::kCsv)
    PrintAsCsv(std::vector<ShownGap>(), options.style.Times(), asked);
  if (options.style.format != OutputFormat::kJson) return;
  Json json;
  for (const char* const key : {"from", "to", "recorded", "longest"}) json[key] = nullptr;
  json["shorterGaps"] = 0;
  json["gaps"] = Json::array();
  asked->PrintJson(json);
}

}  // namespace

int RunGaps(const HostOptions& host, const GapsOptions& options) {
  const OpenRange range = RangeOf(options.range);
  return AnswerForEach(options.sources, options.style.format, [&](AskedSource* asked) {
    return RunOrPrintEmpty([&] { return Gaps(host, options, range, asked); },
                           [&] { PrintEmpty(options, asked); });
  });
}
