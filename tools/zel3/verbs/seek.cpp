#include "verbs/seek.h"

#include <fmt/format.h>

#include <algorithm>

#include "blocks/tags.h"
#include "client/seek_explanation.h"
#include "host/brick_plugins.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "system/access_meter.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

using Rule = SeekExplanation::Rule;

// Looking back from the only entry of a file, the reader answers with the entry before the first.
constexpr std::uint32_t kBeforeFirstEntry = ~std::uint32_t{0};

// What an answer has cost.
struct Cost {
  std::uint64_t filesOpened;
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
      return "an entry has this very time";
    case Rule::kBefore:
      return "the last entry before the time";
    case Rule::kGap:
      if (!explanation.fileBeforeGap) return "nothing is recorded then: the next entry";
      return fmt::format("in the gap between files {} and {}: the entry behind it",
                         *explanation.fileBeforeGap, found.fileNumber);
    case Rule::kNext:
      return "the entry behind the one that holds the time";
    case Rule::kPrevious:
      break;
  }
  return "the entry before the one that holds the time";
}

Json FoundAsJson(const FoundEntry& found, TimeFormat times) {
  Json json;
  json["fileNumber"] = found.fileNumber;
  json["entryNumber"] = found.entryNumber;
  json["time"] = TimeJson(found.time, times);
  return json;
}

Json RangeAsJson(const std::optional<ByteRange>& range) {
  if (!range) return nullptr;
  return {{"from", range->first}, {"to", range->second}};
}

void PrintAsJson(const FoundEntry& found, const SeekExplanation& explanation, const Cost& cost,
                 TimeFormat times) {
  Json json = FoundAsJson(found, times);
  json["file"] = archive_source::FileName(explanation.file);
  json["rule"] = Name(explanation.rule);
  json["fileBeforeGap"] =
      explanation.fileBeforeGap ? Json(*explanation.fileBeforeGap) : Json(nullptr);
  json["index"] = cost.indexWasBuilt ? "built" : "cached";
  json["bytes"] = RangeAsJson(explanation.bytes);
  json["header"] = RangeAsJson(explanation.header);
  json["filesOpened"] = cost.filesOpened;
  json["bytesRead"] = cost.bytesRead;
  PrintJsonLine(json);
}

std::string RangeText(const std::optional<ByteRange>& range) {
  return range ? fmt::format("{} to {}", range->first, range->second) : "none";
}

void PrintAsText(const FoundEntry& found, const SeekExplanation& explanation, const Cost& cost,
                 TimeFormat times) {
  PrintLabelled(
      {{"file", fmt::format("{} {}", found.fileNumber,
                            Escaped(archive_source::FileName(explanation.file)))},
       {"entry", std::to_string(found.entryNumber)},
       {"time", TimeText(found.time, times)},
       {"rule", RuleText(explanation, found)},
       {"bytes", RangeText(explanation.bytes)},
       {"header", RangeText(explanation.header)},
       {"index", cost.indexWasBuilt ? "just built" : "cached"},
       {"cost", fmt::format("{} files opened, {} bytes read", cost.filesOpened, cost.bytesRead)}});
}

void PrintPlainly(const FoundEntry& found, const OutputStyle& style) {
  if (style.format == OutputFormat::kJson) {
    PrintJsonLine(FoundAsJson(found, style.Times()));
  } else {
    PrintTable({{"file", "entry", "time"},
                {std::to_string(found.fileNumber), std::to_string(found.entryNumber),
                 TimeText(found.time, style.Times())}});
  }
}

// Where a time lies that has no answer.
std::string NothingThere(ArchiveClient* client, ArchiveTime time, TimeFormat times) {
  const std::string nothing = kNothingRecorded;
  const std::optional<ArchiveList> list = client->List();
  if (!list || list->archives.empty()) return nothing;
  ArchiveTime first = list->archives.front().startTime;
  ArchiveTime last = 0;
  for (const ListedArchive& archive : list->archives) {
    first = std::min(first, archive.startTime);
    last = std::max(last, archive.endTime);
  }
  if (time < first) return nothing + ": the first entry is at " + TimeText(first, times);
  if (time > last) return nothing + ": the last archive ends at " + TimeText(last, times);
  return nothing;
}

// The folders of what a reader opens: archives and their caches.
std::vector<std::string> FoldersOf(const SourceFacts& source) {
  const std::string& path = source.Path();
  std::vector<std::string> folders{source.IsFolder() ? path : path.substr(0, path.rfind('/') + 1)};
  if (!source.Indexes().folder.empty()) folders.push_back(source.Indexes().folder);
  return folders;
}

int ExplainSeek(const ServedSource& source, const SeekOptions& options) {
  // What loading the plug-in reads is not part of the answer.
  brick_plugins::SetSearchFolder(source.Host().pluginFolder);
  brick_plugins::Load(tag::kSignatureReader);
  ProgressBar progress;
  AccessMeter meter(FoldersOf(source.Facts()));
  ArchiveClient client(source, &progress);
  const std::optional<FoundEntry> found = client.Find(options.time, options.lookup);
  meter.Stop();
  const TimeFormat times = options.style.Times();
  if (!found || found->entryNumber == kBeforeFirstEntry)
    client.FailWithNothing(NothingThere(&client, options.time, times));

  const Cost cost = {meter.FilesOpened(), meter.BytesRead(), client.BuiltAnIndex()};
  const std::optional<ArchiveList> list = client.List();
  const SeekExplanation explanation =
      Explain(source.Facts(), list ? list->archives : std::vector<ListedArchive>(), *found,
              options.time, options.lookup);
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(*found, explanation, cost, times);
  } else {
    PrintAsText(*found, explanation, cost, times);
  }
  return kExitDone;
}

}  // namespace

int RunSeek(const HostOptions& host, const SeekOptions& options) {
  const ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  if (options.explain) return ExplainSeek(source, options);
  ProgressBar progress;
  ArchiveClient client(source, &progress);
  const std::optional<FoundEntry> found = client.Find(options.time, options.lookup);
  if (!found || found->entryNumber == kBeforeFirstEntry) client.FailWithNothing();
  PrintPlainly(*found, options.style);
  return kExitDone;
}
