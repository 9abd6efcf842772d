#include "index.h"

#include <algorithm>
#include <iostream>

#include "archive_client.h"
#include "archive_source.h"
#include "tool_error.h"

namespace {

using Json = nlohmann::ordered_json;

enum class FileState { kCached, kIndexed, kFailed };

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

struct IndexedFile {
  std::string name;
  FileState state = FileState::kFailed;
  std::uint64_t startTime = 0;  // archive times; of no meaning for a failed file
  std::uint64_t endTime = 0;
};

// Through a reader of the file's own: a reader on the folder would index only what is asked for,
// and report progress against another file.
IndexedFile IndexOne(const HostOptions& host, const std::string& path, ProgressBar* progress) {
  IndexedFile file;
  file.name = archive_source::FileName(path);
  if (path.size() > kLongestPath) return file;
  ArchiveClient client(host, path, progress);
  const std::optional<ArchiveList> list = client.List();
  if (!list || list->archives.empty()) return file;
  file.startTime = list->archives.front().startTime;
  file.endTime = list->archives.front().endTime;
  const bool holdsEntries = file.startTime <= file.endTime;
  if (holdsEntries) file.state = client.BuiltAnIndex() ? FileState::kIndexed : FileState::kCached;
  return file;
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
    }
    list.push_back(std::move(entry));
  }
  Json json;
  json["files"] = std::move(list);
  PrintJsonLine(json);
}

void PrintAsText(const std::vector<IndexedFile>& files, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"file", "state", "start", "end"}};
  for (const IndexedFile& file : files) {
    const bool failed = file.state == FileState::kFailed;
    rows.push_back({Escaped(file.name), Name(file.state),
                    failed ? "-" : TimeText(file.startTime, times),
                    failed ? "-" : TimeText(file.endTime, times)});
  }
  PrintTable(rows);
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
  const std::string source = archive_source::Locate(options.source);
  const std::vector<std::string> paths = archive_source::Files(source);
  if (paths.empty()) throw ToolError("no archive in " + options.source);
  ProgressBar progress;
  std::vector<IndexedFile> files;
  for (const std::string& path : paths) files.push_back(IndexOne(host, path, &progress));
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(files, options.style.Times());
  } else {
    PrintAsText(files, options.style.Times());
  }
  const int exitCode = ExitCodeFor(files);
  if (exitCode != kExitDone) std::cerr << "zel3: some files could not be indexed\n";
  return exitCode;
}
