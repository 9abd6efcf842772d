#include "verbs/index.h"

#include <algorithm>

#include "client/index_builder.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

const char* Name(FileState state) {
  switch (state) {
    case FileState::kCached:
      return "cached";
    case FileState::kIndexed:
      return "indexed";
    case FileState::kFailed:
      break;
  }
  return "failed";
}

void PrintAsJson(const std::vector<IndexedFile>& files, TimeFormat times) {
  Json list = Json::array();
  for (const IndexedFile& file : files) {
    Json entry;
    entry["name"] = file.name;
    entry["state"] = Name(file.state);
    if (file.state != FileState::kFailed) {
      entry["startTime"] = TimeJson(file.startTime, times);
      entry["endTime"] = TimeJson(file.endTime, times);
    } else {
      entry["why"] = file.whyFailed;
    }
    list.push_back(std::move(entry));
  }
  Json json;
  json["files"] = std::move(list);
  PrintJsonLine(json);
}

// The last column is there only when a file has failed.
constexpr std::size_t kColumnsWithWhy = 5;

void PrintAsText(const std::vector<IndexedFile>& files, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"file", "state", "start", "end"}};
  for (const IndexedFile& file : files) {
    const bool failed = file.state == FileState::kFailed;
    rows.push_back({Escaped(file.name), Name(file.state),
                    failed ? "-" : TimeText(file.startTime, times),
                    failed ? "-" : TimeText(file.endTime, times)});
    if (!failed) continue;
    rows.front().resize(kColumnsWithWhy, "why");
    rows.back().push_back(Escaped(file.whyFailed));
  }
  PrintTable(rows, {{"failed", Colour::kRed}});
}

int ExitCodeFor(const std::vector<IndexedFile>& files) {
  const auto failed = std::count_if(files.begin(), files.end(), [](const IndexedFile& file) {
    return file.state == FileState::kFailed;
  });
  if (failed == 0) return kExitDone;
  return failed == static_cast<std::ptrdiff_t>(files.size()) ? kExitFailed : kExitDamaged;
}

}  // namespace

int RunIndex(const HostOptions& host, const IndexOptions& options) {
  const ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  ProgressBar progress;
  const std::vector<IndexedFile> files = BuildIndexes(source, &progress);
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(files, options.style.Times());
  } else {
    PrintAsText(files, options.style.Times());
  }
  const int exitCode = ExitCodeFor(files);
  if (exitCode != kExitDone) PrintNotice("some files could not be indexed");
  return exitCode;
}
