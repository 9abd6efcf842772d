#include "verbs/seek.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "client/doubt.h"
#include "client/seek_explanation.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "system/access_meter.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"
#include "verbs/time_range.h"

namespace {

using Rule = SeekExplanation::Rule;

// What an answer cost.
struct Cost {
  std::optional<std::uint64_t> filesOpened;  // nothing: too many to count
  std::uint64_t bytesRead;
  bool indexWasBuilt;
};

const char* Name(Rule rule) {
  switch (rule) {
    case Rule::kAt:
      return "at";
    case Rule::kBefore:
      return "before";
    case Rule::kGap:
      return "gap";
    case Rule::kNext:
      return "next";
    case Rule::kPrevious:
      break;
  }
  return "previous";
}

std::string RuleText(const SeekExplanation& explanation, const FoundEntry& found) {
  switch (explanation.rule) {
    case Rule::kAt:
      return "an entry has exactly this time";
    case Rule::kBefore:
      return "the last entry before the time";
    case Rule::kGap:
      if (!explanation.fileBeforeGap) return "nothing is recorded then: the next entry";
      return fmt::format("in the gap between files {} and {}: the entry after it",
                         *explanation.fileBeforeGap, found.fileNumber);
    case Rule::kNext:
      return "the entry after the one that holds the time";
    case Rule::kPrevious:
      break;
  }
  return "the entry before the one that holds the time";
}

// An answer in which every value is null.
Json NothingAsJson(bool explained) {
  Json json;
  for (const char* const key : {"file", "fileNumber", "entryNumber", "time"}) json[key] = nullptr;
  if (!explained) return json;
  for (const char* const key :
       {"rule", "fileBeforeGap", "index", "byteRange", "headerRange", "filesOpened", "bytesRead"}) {
    json[key] = nullptr;
  }
  return json;
}

Json FoundAsJson(const FoundEntry& found, const std::string& file, TimeFormat times) {
  Json json;
  json["file"] = file;
  json["fileNumber"] = found.fileNumber;
  json["entryNumber"] = found.entryNumber;
  json["time"] = TimeJson(found.time, times);
  return json;
}

Json RangeAsJson(const std::optional<ByteRange>& range) {
  if (!range) return nullptr;
  return {{"from", range->first}, {"to", range->second}};
}

Json Explained(Json json, const SeekExplanation& explanation, const Cost& cost) {
  json["rule"] = Name(explanation.rule);
  json["fileBeforeGap"] =
      explanation.fileBeforeGap ? Json(*explanation.fileBeforeGap) : Json(nullptr);
  json["index"] = cost.indexWasBuilt ? "built" : "cached";
  json["byteRange"] = RangeAsJson(explanation.bytes);
  json["headerRange"] = RangeAsJson(explanation.header);
  json["filesOpened"] = cost.filesOpened ? Json(*cost.filesOpened) : Json(nullptr);
  json["bytesRead"] = cost.bytesRead;
  return json;
}

std::string RangeText(const std::optional<ByteRange>& range) {
  return range ? fmt::format("{} to {}", range->first, range->second) : "none";
}

std::string CostText(const Cost& cost) {
  const std::string opened = cost.filesOpened ? fmt::format("{} files opened", *cost.filesOpened)
                                              : "too many files opened to count";
  return fmt::format("{}, {} bytes read", opened, cost.bytesRead);
}

void PrintAsText(const FoundEntry& found, const std::string& file,
                 const SeekExplanation& explanation, const Cost& cost, TimeFormat times) {
  PrintLabelled({{"file", fmt::format("{}, number {}", Escaped(file), found.fileNumber)},
                 {"entry", std::to_string(found.entryNumber)},
                 {"time", TimeText(found.time, times)},
                 {"rule", RuleText(explanation, found)},
                 {"bytes", RangeText(explanation.bytes)},
                 {"header", RangeText(explanation.header)},
                 {"index", cost.indexWasBuilt ? "just built" : "cached"},
                 {"cost", CostText(cost)}});
}

using Rows = std::vector<std::vector<std::string>>;

// Prints a table of one row, or adds a row to the table of all sources.
void AddRow(const FoundEntry& found, const std::string& file, const AskedSource& asked,
            TimeFormat times, Rows* rows) {
  std::vector<std::string> headings{"file", "number", "entry", "time"};
  std::vector<std::string> row{Escaped(file), std::to_string(found.fileNumber),
                               std::to_string(found.entryNumber), TimeText(found.time, times)};
  if (asked.IsOneOfMany()) {
    headings.insert(headings.begin(), "source");
    row.insert(row.begin(), Escaped(asked.Given().path));
  }
  if (rows->empty()) rows->push_back(std::move(headings));
  rows->push_back(std::move(row));
}

// Where a time without an answer is.
std::string NothingThere(const Timeline& timeline, ArchiveTime time, TimeFormat times) {
  const std::string nothing = kNothingRecorded;
  const ArchiveTime first = timeline.Start();
  const ArchiveTime last = timeline.End();
  if (time < first) return nothing + ": the first entry is at " + TimeText(first, times);
  if (time > last) return nothing + ": the last entry is at " + TimeText(last, times);
  return nothing;
}

// The folders of the files that a reader opens: archives and their caches.
std::vector<std::string> FoldersOf(const SourceFacts& source) {
  std::set<std::string> folders;
  for (const std::string& file : source.Files()) folders.insert(archive_source::FolderOf(file));
  for (const std::string& archive : source.Archives()) {
    const std::string folder = source.IndexFolderOf(archive);
    if (!folder.empty()) folders.insert(folder);
  }
  return {folders.begin(), folders.end()};
}

// Rows of a table are returned for printing later.
int Seek(const HostOptions& host, const SeekOptions& options, AskedSource* asked, Rows* rows) {
  ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
  ProgressBar progress;
  AccessMeter meter(FoldersOf(source.Facts()));
  Timeline timeline(&source, &progress);
  timeline.RequireOne();
  const std::optional<FoundEntry> found = timeline.Find(options.time, options.lookup);
  meter.Stop();
  const TimeFormat times = options.style.Times();
  if (!found) {
    DoubtEnds(&timeline);
    timeline.FailWithNothing(NothingThere(timeline, options.time, times),
                             SecondsHint({options.time, std::nullopt}, timeline));
  }
  DoubtFound(*found, options.time, options.lookup, &timeline);

  const std::string file = source.Facts().NameOf(timeline.Archives()[found->fileNumber].path);
  const bool asJson = options.style.format == OutputFormat::kJson;
  if (options.explain) {
    const Cost cost = {meter.FilesOpened(), meter.BytesRead(), timeline.BuiltAnIndex()};
    const SeekExplanation explanation = Explain(*found, options.time, options.lookup, &timeline);
    if (asJson) {
      asked->PrintJson(Explained(FoundAsJson(*found, file, times), explanation, cost));
    } else {
      asked->BeginText();
      PrintAsText(*found, file, explanation, cost, times);
    }
  } else if (asJson) {
    asked->PrintJson(FoundAsJson(*found, file, times));
  } else {
    AddRow(*found, file, *asked, times, rows);
  }
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunSeek(const HostOptions& host, const SeekOptions& options) {
  Rows rows;
  const auto seek = [&](AskedSource* asked) {
    return RunOrPrintEmpty([&] { return Seek(host, options, asked, &rows); },
                           [&] {
                             if (options.style.format == OutputFormat::kJson)
                               asked->PrintJson(NothingAsJson(options.explain));
                           });
  };
  const int exitCode = AnswerForEach(options.sources, options.style.format, seek);
  PrintTable(rows);
  return exitCode;
}
