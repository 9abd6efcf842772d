#include "verbs/info.h"

#include <iostream>
#include <optional>
#include <utility>

#include "client/timeline.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_streams.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"

namespace {

// Marks for what is known only with an index, and for what cannot be known.
constexpr char kPerhapsMore[] = "...";
constexpr char kUnknown[] = "?";

struct ShownArchive {
  ServedArchive archive;
  std::uint32_t number = 0;
  std::uint64_t bytes = 0;
  std::optional<DeclaredStreams> streams;  // nothing: not known

  std::string name;
};

std::vector<ShownArchive> LookInto(const Timeline& timeline, const SourceFacts& source) {
  std::vector<ShownArchive> archives;
  std::uint32_t number = 0;
  for (const ServedArchive& archive : timeline.Archives()) {
    ShownArchive shown;
    shown.archive = archive;
    shown.number = number++;
    shown.name = source.NameOf(archive.path);
    if (const auto status = StatusOf(archive.path)) shown.bytes = status->stx_size;
    shown.streams = StreamsOf(archive.path, source);
    if (!archive.IsLeftOut()) archives.push_back(std::move(shown));
  }
  return archives;
}

void PrintAsJson(AskedSource* asked, const std::vector<ShownArchive>& archives, TimeFormat times) {
  Json json;
  json["source"] = asked->Given().path;
  Json& files = json["files"] = Json::array();
  for (const ShownArchive& shown : archives) {
    const bool hasIndex = shown.archive.HasIndex();
    Json file;
    file["file"] = shown.name;
    file["fileNumber"] = shown.number;
    file["start"] = TimeJson(shown.archive.start, times);
    file["end"] = TimeJson(shown.archive.end, times);
    file["entries"] = hasIndex ? Json(shown.archive.entries) : Json(nullptr);
    file["indexed"] = hasIndex;
    file["bytes"] = shown.bytes;
    file["streams"] = shown.streams ? Json(shown.streams->ids) : Json(nullptr);
    file["streamsComplete"] = shown.streams && shown.streams->ofAllHeaders;
    files.push_back(std::move(file));
  }
  asked->PrintJson(json);
}

std::string StreamsText(const std::optional<DeclaredStreams>& streams) {
  if (!streams) return kUnknown;
  std::string text;
  for (const unsigned id : streams->ids) text += (text.empty() ? "" : " ") + std::to_string(id);
  if (text.empty()) text = "-";
  return streams->ofAllHeaders ? text : text + " " + kPerhapsMore;
}

void PrintAsText(AskedSource* asked, const std::vector<ShownArchive>& archives, TimeFormat times) {
  asked->BeginText();
  if (!asked->IsOneOfMany()) std::cout << Escaped(asked->Given().path) << '\n';
  bool anyUnknown = false;
  bool anyPerhapsMore = false;
  std::vector<std::vector<std::string>> rows{
      {"file", "number", "start", "end", "entries", "streams"}};
  for (const ShownArchive& shown : archives) {
    const bool hasIndex = shown.archive.HasIndex();
    rows.push_back({Escaped(shown.name), std::to_string(shown.number),
                    TimeText(shown.archive.start, times), TimeText(shown.archive.end, times),
                    hasIndex ? std::to_string(shown.archive.entries) : kPerhapsMore,
                    StreamsText(shown.streams)});
    anyUnknown = anyUnknown || !shown.streams;
    anyPerhapsMore = anyPerhapsMore || !hasIndex || (shown.streams && !shown.streams->ofAllHeaders);
  }
  PrintTable(rows);
  if (anyPerhapsMore)
    std::cout << kPerhapsMore << " some of it is known only after the file has been indexed\n";
  if (anyUnknown) std::cout << kUnknown << " not known; zel3 doctor says what is wrong\n";
}

int Info(const HostOptions& host, const InfoOptions& options, AskedSource* asked) {
  ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
  ProgressBar progress;
  const Timeline timeline(&source, &progress);
  timeline.RequireOne();
  const std::vector<ShownArchive> archives = LookInto(timeline, source.Facts());
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(asked, archives, options.style.Times());
  } else {
    PrintAsText(asked, archives, options.style.Times());
  }
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunInfo(const HostOptions& host, const InfoOptions& options) {
  return AnswerForEach(options.sources, options.style.format,
                       [&](AskedSource* asked) { return Info(host, options, asked); });
}
