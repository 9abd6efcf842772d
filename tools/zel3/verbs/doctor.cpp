#include "verbs/doctor.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "checkup/diagnosis.h"
#include "client/timeline.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "sources/index_lock.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/exit_by_severity.h"

namespace {

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

Json Optional(const std::optional<std::uint64_t>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json OptionalTime(const std::optional<ArchiveTime>& time, TimeFormat times) {
  return time ? TimeJson(*time, times) : Json(nullptr);
}

void PrintAsJson(AskedSource* asked, const Diagnosis& diagnosis, TimeFormat times) {
  Json files = Json::array();
  for (const ArchiveFacts& facts : diagnosis.archives) {
    Json file;
    file["file"] = facts.name;
    file["start"] = facts.entries > 0 ? TimeJson(facts.startTime, times) : Json(nullptr);
    file["end"] = facts.entries > 0 ? TimeJson(facts.endTime, times) : Json(nullptr);
    file["entries"] = facts.entries;
    file["bytes"] = facts.bytes;
    file["cache"] = Name(facts.cache);
    files.push_back(std::move(file));
  }
  Json list = Json::array();
  for (const Finding& finding : diagnosis.findings) {
    Json entry;
    entry["severity"] = Name(SeverityOf(finding.kind));
    entry["kind"] = Name(finding.kind);
    entry["file"] = finding.file;
    entry["position"] = Optional(finding.position);
    entry["bytes"] = Optional(finding.bytes);
    entry["from"] = OptionalTime(finding.time, times);
    entry["to"] = OptionalTime(finding.endTime, times);
    entry["text"] = finding.text;
    entry["remedy"] = RemedyOf(finding.kind);
    list.push_back(std::move(entry));
  }
  Json json;
  json["source"] = asked->Given().path;
  json["files"] = std::move(files);
  json["findings"] = std::move(list);
  asked->PrintJson(json);
}

std::string Number(const std::optional<std::uint64_t>& value) {
  return value ? std::to_string(*value) : "-";
}

std::string Span(const Finding& finding, TimeFormat times) {
  if (!finding.time) return "";
  const std::string from = TimeText(*finding.time, times);
  if (!finding.endTime) return fmt::format(" (after {})", from);
  return fmt::format(" ({} to {})", from, TimeText(*finding.endTime, times));
}

SeverityCounts CountsOf(const std::vector<Finding>& findings) {
  SeverityCounts counts;
  for (const Finding& finding : findings) counts.Add(SeverityOf(finding.kind), finding.Count());
  return counts;
}

// Once for each kind: there are many findings, and a table with remedies would be too wide.
void PrintRemedies(const std::vector<Finding>& findings) {
  std::set<FindingKind> kinds;
  for (const Finding& finding : findings) kinds.insert(finding.kind);
  std::vector<std::vector<std::string>> rows{{"kind", "what to do"}};
  for (const FindingKind kind : kinds) rows.push_back({Name(kind), RemedyOf(kind)});
  std::cout << '\n';
  PrintTable(rows);
  std::cout << '\n';
}

void PrintAsText(AskedSource* asked, const Diagnosis& diagnosis, TimeFormat times) {
  asked->BeginText();
  const std::vector<Finding>& findings = diagnosis.findings;
  std::vector<std::vector<std::string>> rows{
      {"severity", "kind", "file", "position", "bytes", "text"}};
  for (const Finding& finding : findings) {
    rows.push_back({Name(SeverityOf(finding.kind)), Name(finding.kind), Escaped(finding.file),
                    Number(finding.position), Number(finding.bytes),
                    Escaped(finding.text) + Span(finding, times)});
  }
  if (!findings.empty()) {
    PrintTable(rows, {{"error", Colour::kRed}, {"warning", Colour::kYellow}});
    PrintRemedies(findings);
  }
  const SeverityCounts found = CountsOf(findings);
  fmt::print("{}: {}, {}, {}\n", Counted(diagnosis.archives.size(), "file"),
             Counted(found.Of(Severity::kError), "error"),
             Counted(found.Of(Severity::kWarning), "warning"),
             Counted(found.Of(Severity::kNote), "note"));
}

// Once for each reason.
void TellWhereIndexesAre(const SourceFacts& source, const AskedSource& asked) {
  std::set<std::string> told;
  for (const std::string& archive : source.Archives()) {
    const IndexPlace& place = source.PlaceOf(archive);
    if (!place.isPrivate || !told.insert(place.whyNotBeside).second) continue;
    const std::string where =
        place.whyNotKept.empty() ? "kept in " + place.folder : "not kept: " + place.whyNotKept;
    asked.Tell("indexes cannot be kept beside the archives (" + place.whyNotBeside + ") and are " +
               where);
  }
}

// Returns the number of files that cannot be indexed.
std::uint64_t Rebuild(const HostOptions& host, const SourceFacts& source,
                      const std::vector<ArchiveFacts>& archives, const AskedSource& asked,
                      ProgressBar* progress) {
  ServedSource served(host, asked.Given(), MissingIndexes::kBuild, asked.Teller());
  for (const ArchiveFacts& facts : archives) {
    if (facts.cache == CacheState::kUnsound) served.DropIndex(facts.path, false);
  }
  std::map<ServedArchive::State, std::uint64_t> counts;
  try {
    Timeline timeline(&served, progress);
    timeline.IndexAll();
    for (const ServedArchive& archive : timeline.Archives()) ++counts[archive.state];
  } catch (const Failure& error) {
    if (error.Code() == kExitInterrupted) throw;
    counts = {{ServedArchive::State::kLeftOut, source.Archives().size()}};
  }
  progress->Clear();
  const std::uint64_t failed = counts[ServedArchive::State::kLeftOut] + source.Others().size();
  if (asked.IsOneOfMany()) fmt::print(stderr, "{}: ", Escaped(asked.Given().path));
  fmt::print(stderr, "{} built, {} kept, {} cannot be indexed\n",
             Counted(counts[ServedArchive::State::kIndexed], "cache"),
             counts[ServedArchive::State::kCached], Counted(failed, "file"));
  return failed;
}

int Examine(const HostOptions& host, const DoctorOptions& options, AskedSource* asked) {
  const SourceFacts source(host, asked->Given());
  for (const std::string& archive : source.Archives())
    index_lock::WaitForOthers(archive, source.IndexFolderOf(archive), asked->Teller());
  ProgressBar progress;
  const Diagnosis diagnosis = Diagnose(source, &progress);
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(asked, diagnosis, options.style.Times());
  } else {
    PrintAsText(asked, diagnosis, options.style.Times());
  }
  TellWhereIndexesAre(source, *asked);
  const std::uint64_t notIndexed =
      options.rebuild ? Rebuild(host, source, diagnosis.archives, *asked, &progress) : 0;
  return ExitBySeverity(CountsOf(diagnosis.findings), options.failOn, notIndexed);
}

}  // namespace

int RunDoctor(const HostOptions& host, const DoctorOptions& options) {
  return AnswerForEach(options.sources, options.style.format,
                       [&](AskedSource* asked) { return Examine(host, options, asked); });
}
