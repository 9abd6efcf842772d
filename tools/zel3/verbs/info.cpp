#include "verbs/info.h"

#include <iostream>
#include <optional>
#include <utility>

#include "client/archive_client.h"
#include "client/listed_files.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "sources/archive_streams.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

// Sign that a file may have more streams, and that something cannot be told.
constexpr char kPerhapsMore[] = "...";
constexpr char kUnknown[] = "?";

struct ShownArchive {
  ListedArchive listed;
  std::string name;                        // empty: not known
  std::optional<DeclaredStreams> streams;  // nothing: not known
};

// The reader tells neither names nor, once a file has its index, streams.
std::vector<ShownArchive> LookInto(const ArchiveList& list, const SourceFacts& source) {
  const std::vector<std::string> paths = FilesOf(list.archives, source);
  std::vector<ShownArchive> archives;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    ShownArchive archive{list.archives[i], archive_source::FileName(paths[i]), {}};
    if (!paths[i].empty()) archive.streams = StreamsOf(paths[i], source);
    archives.push_back(std::move(archive));
  }
  return archives;
}

void PrintAsJson(const std::string& source, const std::vector<ShownArchive>& archives,
                 TimeFormat times) {
  Json json;
  json["source"] = source;
  Json& files = json["files"] = Json::array();
  for (const ShownArchive& archive : archives) {
    Json file;
    file["fileNumber"] = archive.listed.fileNumber;
    file["name"] = archive.name.empty() ? Json(nullptr) : Json(archive.name);
    file["startTime"] = TimeJson(archive.listed.startTime, times);
    file["endTime"] = TimeJson(archive.listed.endTime, times);
    file["streams"] = archive.streams ? Json(archive.streams->ids) : Json(nullptr);
    file["streamsComplete"] = archive.streams && archive.streams->ofAllHeaders;
    files.push_back(std::move(file));
  }
  PrintJsonLine(json);
}

std::string StreamsText(const std::optional<DeclaredStreams>& streams) {
  if (!streams) return kUnknown;
  std::string text;
  for (const unsigned id : streams->ids) text += (text.empty() ? "" : " ") + std::to_string(id);
  if (text.empty()) text = "-";
  return streams->ofAllHeaders ? text : text + " " + kPerhapsMore;
}

void PrintAsText(const std::string& source, const std::vector<ShownArchive>& archives,
                 TimeFormat times) {
  std::cout << Escaped(source) << '\n';
  bool anyUnknown = false;
  bool anyPerhapsMore = false;
  std::vector<std::vector<std::string>> rows{{"file", "name", "start", "end", "streams"}};
  for (const ShownArchive& archive : archives) {
    rows.push_back({std::to_string(archive.listed.fileNumber),
                    archive.name.empty() ? kUnknown : Escaped(archive.name),
                    TimeText(archive.listed.startTime, times),
                    TimeText(archive.listed.endTime, times), StreamsText(archive.streams)});
    anyUnknown = anyUnknown || archive.name.empty() || !archive.streams;
    anyPerhapsMore = anyPerhapsMore || (archive.streams && !archive.streams->ofAllHeaders);
  }
  PrintTable(rows);
  if (anyPerhapsMore)
    std::cout << kPerhapsMore << " perhaps more: known when the file has its index\n";
  if (anyUnknown) std::cout << kUnknown << " cannot be told: zel3 doctor says what is wrong\n";
}

}  // namespace

int RunInfo(const HostOptions& host, const InfoOptions& options) {
  const ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  ProgressBar progress;
  ArchiveClient client(source, &progress);
  const ArchiveList list = client.ListOrFail();
  const std::vector<ShownArchive> archives = LookInto(list, source.Facts());
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(list.source, archives, options.style.Times());
  } else {
    PrintAsText(list.source, archives, options.style.Times());
  }
  return source.LeavesOut() ? kExitDamaged : kExitDone;
}
