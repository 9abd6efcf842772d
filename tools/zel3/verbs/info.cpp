#include "verbs/info.h"

#include <iostream>

#include "client/archive_client.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

void PrintAsJson(const ArchiveList& list, TimeFormat times) {
  Json json;
  json["source"] = list.source;
  Json& files = json["files"] = Json::array();
  for (const ListedArchive& archive : list.archives) {
    Json file;
    file["fileNumber"] = archive.fileNumber;
    file["startTime"] = TimeJson(archive.startTime, times);
    file["endTime"] = TimeJson(archive.endTime, times);
    file["streams"] = archive.streamIds;
    files.push_back(std::move(file));
  }
  PrintJsonLine(json);
}

std::string Joined(const std::vector<unsigned>& ids) {
  std::string text;
  for (const unsigned id : ids) text += (text.empty() ? "" : " ") + std::to_string(id);
  return text.empty() ? "-" : text;
}

void PrintAsText(const ArchiveList& list, TimeFormat times) {
  std::cout << Escaped(list.source) << '\n';
  std::vector<std::vector<std::string>> rows{{"file", "start", "end", "streams"}};
  for (const ListedArchive& archive : list.archives) {
    rows.push_back({std::to_string(archive.fileNumber), TimeText(archive.startTime, times),
                    TimeText(archive.endTime, times), Joined(archive.streamIds)});
  }
  PrintTable(rows);
}

}  // namespace

int RunInfo(const HostOptions& host, const InfoOptions& options) {
  const ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  ProgressBar progress;
  ArchiveClient client(source, &progress);
  const ArchiveList list = client.ListOrFail();
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(list, options.style.Times());
  } else {
    PrintAsText(list, options.style.Times());
  }
  return source.LeavesOut() ? kExitDamaged : kExitDone;
}
