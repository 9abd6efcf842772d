#include "doctor.h"

#include <fmt/format.h>

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <iostream>

#include "archive_checkup.h"
#include "archive_source.h"
#include "index_builder.h"
#include "recorded_gap.h"
#include "tool_error.h"

namespace {

using Json = nlohmann::ordered_json;

const char* Name(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      break;
  }
  return "note";
}

const char* Name(CacheState state) {
  switch (state) {
    case CacheState::kSound:
      return "sound";
    case CacheState::kUnsound:
      return "unsound";
    case CacheState::kNone:
      break;
  }
  return "none";
}

// How the files of a folder follow each other in time.
void CheckOrder(std::vector<ArchiveFacts> archives, Findings* findings) {
  archives.erase(std::remove_if(archives.begin(), archives.end(),
                                [](const ArchiveFacts& facts) { return facts.entries == 0; }),
                 archives.end());
  std::sort(archives.begin(), archives.end(),
            [](const ArchiveFacts& one, const ArchiveFacts& other) {
              return one.startTime < other.startTime;
            });
  const ArchiveFacts* latest = nullptr;
  for (const ArchiveFacts& facts : archives) {
    if (latest != nullptr) {
      const std::string name = archive_source::FileName(facts.path);
      const std::string before = archive_source::FileName(latest->path);
      const bool overlaps = facts.startTime < latest->endTime;
      const std::uint64_t distance = overlaps ? 0 : facts.startTime - latest->endTime;
      if (overlaps) {
        findings->Add({Severity::kWarning,
                       "overlap",
                       name,
                       "holds times of " + before + ", too",
                       {},
                       {},
                       facts.startTime,
                       std::min(facts.endTime, latest->endTime)});
      } else if (latest->step > 0 && distance > kMostStepsToTheNextFile * latest->step) {
        findings->Add({Severity::kNote,
                       "gap",
                       name,
                       "nothing is recorded since " + before,
                       {},
                       {},
                       latest->endTime,
                       facts.startTime});
      }
    }
    if (latest == nullptr || latest->endTime < facts.endTime) latest = &facts;
  }
}

Json Optional(const std::optional<std::uint64_t>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json OptionalTime(const std::optional<std::uint64_t>& time, TimeFormat times) {
  return time ? TimeJson(*time, times) : Json(nullptr);
}

void PrintAsJson(const std::string& source, const std::vector<ArchiveFacts>& archives,
                 const std::vector<Finding>& findings, TimeFormat times) {
  Json files = Json::array();
  for (const ArchiveFacts& facts : archives) {
    Json file;
    file["name"] = archive_source::FileName(facts.path);
    file["bytes"] = facts.bytes;
    file["entries"] = facts.entries;
    file["startTime"] = facts.entries > 0 ? TimeJson(facts.startTime, times) : Json(nullptr);
    file["endTime"] = facts.entries > 0 ? TimeJson(facts.endTime, times) : Json(nullptr);
    file["cache"] = Name(facts.cache);
    files.push_back(std::move(file));
  }
  Json list = Json::array();
  for (const Finding& finding : findings) {
    Json entry;
    entry["severity"] = Name(finding.severity);
    entry["kind"] = finding.kind;
    entry["file"] = finding.file;
    entry["position"] = Optional(finding.position);
    entry["bytes"] = Optional(finding.bytes);
    entry["time"] = OptionalTime(finding.time, times);
    entry["endTime"] = OptionalTime(finding.endTime, times);
    entry["text"] = finding.text;
    list.push_back(std::move(entry));
  }
  Json json;
  json["source"] = source;
  json["files"] = std::move(files);
  json["findings"] = std::move(list);
  PrintJsonLine(json);
}

template <class Count>
std::string Counted(Count count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string Number(const std::optional<std::uint64_t>& value) {
  return value ? std::to_string(*value) : "-";
}

std::string Span(const Finding& finding, TimeFormat times) {
  if (!finding.time) return "";
  return fmt::format(" ({} to {})", TimeText(*finding.time, times),
                     TimeText(finding.endTime.value_or(*finding.time), times));
}

void PrintAsText(const std::vector<ArchiveFacts>& archives, const std::vector<Finding>& findings,
                 TimeFormat times) {
  std::vector<std::vector<std::string>> rows{
      {"severity", "kind", "file", "position", "bytes", "text"}};
  for (const Finding& finding : findings) {
    rows.push_back({Name(finding.severity), finding.kind, Escaped(finding.file),
                    Number(finding.position), Number(finding.bytes),
                    Escaped(finding.text) + Span(finding, times)});
  }
  if (!findings.empty()) PrintTable(rows);
  const auto count = [&findings](Severity severity) {
    return std::count_if(findings.begin(), findings.end(),
                         [severity](const Finding& one) { return one.severity == severity; });
  };
  fmt::print("{}: {}, {}, {}\n", Counted(archives.size(), "file"),
             Counted(count(Severity::kError), "error"),
             Counted(count(Severity::kWarning), "warning"),
             Counted(count(Severity::kNote), "note"));
}

// What cannot be removed stays, and the index is then made in its place or not at all.
void RemoveCache(const ArchiveFacts& facts, const std::string& cacheFolder) {
  const CacheNames names = CacheOf(facts.path, cacheFolder);
  const QString archive = QFileInfo(QFile::decodeName(facts.path.c_str())).canonicalFilePath();
  for (const QString& path :
       {names.entries, names.headers, names.events, UnfinishedName(names.events)}) {
    // An archive may have the very name of a cache file.
    if (QFileInfo(path).canonicalFilePath() != archive) QFile::remove(path);
  }
}

void Rebuild(const HostOptions& host, const std::string& source,
             const std::vector<ArchiveFacts>& archives) {
  for (const ArchiveFacts& facts : archives) {
    if (facts.cache == CacheState::kUnsound) RemoveCache(facts, host.cacheFolder);
  }
  ProgressBar progress;
  const std::vector<IndexedFile> files = BuildIndexes(host, source, &progress);
  const auto count = [&files](FileState state) {
    return std::count_if(files.begin(), files.end(),
                         [state](const IndexedFile& file) { return file.state == state; });
  };
  fmt::print(stderr, "{} made anew, {} kept, {} cannot be indexed\n",
             Counted(count(FileState::kIndexed), "cache"), count(FileState::kCached),
             Counted(count(FileState::kFailed), "file"));
}

}  // namespace

int RunDoctor(const HostOptions& host, const DoctorOptions& options) {
  const std::string source = archive_source::Locate(options.source);
  const std::vector<std::string> paths = archive_source::Files(source);
  if (paths.empty()) throw ToolError("no archive in " + source);
  Findings findings;
  std::vector<ArchiveFacts> archives;
  for (const std::string& path : paths)
    archives.push_back(CheckArchive(path, host.cacheFolder, &findings));
  CheckOrder(archives, &findings);

  const std::vector<Finding> all = findings.All();
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(source, archives, all, options.style.Times());
  } else {
    PrintAsText(archives, all, options.style.Times());
  }
  if (options.rebuild) Rebuild(host, source, archives);
  return all.empty() ? kExitDone : kExitDamaged;
}
