#include "checkup/diagnosis.h"

#include <algorithm>

#include "checkup/leftovers.h"
#include "client/recorded_gap.h"
#include "sources/archive_source.h"
#include "sources/other_index_places.h"
#include "system/file_data.h"
#include "system/file_handle.h"

namespace {

// After this many findings, later files are told more briefly.
constexpr std::size_t kMostWithAll = 5000;

Finding Overlap(const ArchiveFacts& file, const ArchiveFacts& before) {
  Finding finding{FindingKind::kOverlap, file.name, "holds times of " + before.name + ", too"};
  finding.time = file.startTime;
  finding.endTime = std::min(file.endTime, before.endTime);
  return finding;
}

Finding GapBetween(const ArchiveFacts& before, const ArchiveFacts& file) {
  Finding finding{FindingKind::kGap, file.name, "nothing is recorded since " + before.name};
  finding.time = before.endTime;
  finding.endTime = file.startTime;
  return finding;
}

bool AreFarApart(const ArchiveFacts& before, const ArchiveFacts& file) {
  return IsGap(file.startTime - before.endTime, before.step, kMostStepsToTheNextFile);
}

// How the files of a folder follow each other in time.
std::vector<Finding> CheckOrder(std::vector<ArchiveFacts> archives) {
  std::vector<Finding> findings;
  archives.erase(std::remove_if(archives.begin(), archives.end(),
                                [](const ArchiveFacts& facts) { return facts.entries == 0; }),
                 archives.end());
  std::sort(archives.begin(), archives.end(),
            [](const ArchiveFacts& one, const ArchiveFacts& other) {
              return one.startTime < other.startTime;
            });
  const ArchiveFacts* latest = nullptr;
  for (const ArchiveFacts& facts : archives) {
    if (latest != nullptr && facts.startTime < latest->endTime) {
      findings.push_back(Overlap(facts, *latest));
    } else if (latest != nullptr && AreFarApart(*latest, facts)) {
      findings.push_back(GapBetween(*latest, facts));
    }
    if (latest == nullptr || latest->endTime < facts.endTime) latest = &facts;
  }
  return findings;
}

// Where files come from several folders, findings in a file and its cache files have the path of
// its folder before the name.
std::vector<Finding> WithWay(std::vector<Finding> findings, const std::string& nameOfArchive) {
  const std::string way = nameOfArchive.substr(0, nameOfArchive.rfind('/') + 1);
  for (Finding& finding : findings) finding.file.insert(0, way);
  return findings;
}

std::vector<Finding> LinksInPlaceOfFolders() {
  std::vector<Finding> findings;
  for (const std::string& link : LinksForIndexPlaces()) {
    findings.push_back({FindingKind::kOtherIndex, archive_source::FileName(link),
                        link + " is a link, and is not followed"});
  }
  return findings;
}

// Without holes, which are not read.
std::uint64_t DataOf(const std::vector<std::string>& paths) {
  std::uint64_t size = 0;
  for (const std::string& path : paths) {
    size += DataBytes(OpenForReading(path));
  }
  return size;
}

}  // namespace

Diagnosis Diagnose(const SourceFacts& source, Progress* progress) {
  const std::vector<std::string>& paths = source.Files();
  if (paths.empty()) archive_source::FailWithoutFiles(source.Path());
  WorkState work;
  work.what = "examining";
  work.count = paths.size();
  work.all = DataOf(paths);
  const auto onBytesRead = [&work, progress](std::uint64_t count) {
    work.done += count;
    progress->Show(work);
  };
  Diagnosis diagnosis;
  Leftovers leftovers(source);
  const auto append = [&diagnosis](const std::vector<Finding>& findings) {
    diagnosis.findings.insert(diagnosis.findings.end(), findings.begin(), findings.end());
  };
  for (const std::string& path : paths) {
    work.name = archive_source::FileName(path);
    ++work.number;
    Findings findings(diagnosis.findings.size() < kMostWithAll ? Findings::kMostOfAKind : 1);
    diagnosis.archives.push_back(CheckArchive(path, source, &findings, onBytesRead));
    append(WithWay(findings.All(), diagnosis.archives.back().name));
    append(WithWay(leftovers.OfIndex(path), diagnosis.archives.back().name));
  }
  progress->Clear();
  append(LinksInPlaceOfFolders());
  append(leftovers.OfVerbs());
  append(CheckOrder(diagnosis.archives));
  return diagnosis;
}
