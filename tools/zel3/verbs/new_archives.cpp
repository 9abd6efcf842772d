#include "verbs/new_archives.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>

#include "checkup/finding.h"
#include "output/output_file.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "verbs/index_beside.h"

namespace {

constexpr char kSuffix[] = ".zel3";
constexpr std::size_t kSuffixSize = sizeof(kSuffix) - 1;
constexpr std::size_t kFewestDigits = 3;

// Findings caused by the entries and events themselves, which copying does not change.
bool ComesWithTheEntries(FindingKind kind) {
  return kind == FindingKind::kMisplaced || kind == FindingKind::kBackwards ||
         kind == FindingKind::kEventsNotKept || kind == FindingKind::kFirstIndexPlace;
}

void RequireNothingWrong(const Findings& findings) {
  for (const Finding& finding : findings.All()) {
    if (SeverityOf(finding.kind) == Severity::kNote || ComesWithTheEntries(finding.kind)) continue;
    throw Failure(fmt::format("what was written is not a sound archive, and was removed ({}: {})",
                              Name(finding.kind), finding.text));
  }
}

}  // namespace

NewArchives::NewArchives(NewArchivePlace place, RefuseToHarm refuse)
    : mPlace(std::move(place)), mRefuse(std::move(refuse)) {
  if (OutputFile::IsStandardOutput(mPlace.path)) {
    throw Failure(
        "an archive is checked before it gets its name, so the output must be a file: use -o FILE",
        kExitUsage);
  }
  if (!archive_source::IsKnownToParsers(mPlace.path) ||
      archive_source::FileName(mPlace.path).size() <= kSuffixSize) {
    throw Failure("the name of the output must end in .zel3: parsers know no other", kExitUsage);
  }
  RefuseWhatStandsAt(NameOf(0, 1));
}

std::string NewArchives::NameOf(std::size_t number, std::size_t count) const {
  if (!mPlace.isInParts) return mPlace.path;
  // All have the same number of digits, so that they sort by time.
  const std::size_t digits =
      std::max(kFewestDigits, fmt::format("{}", std::max<std::size_t>(count, 1) - 1).size());
  const std::size_t stem = mPlace.path.size() - kSuffixSize;
  return fmt::format("{}-{:0{}}{}", mPlace.path.substr(0, stem), number, digits,
                     mPlace.path.substr(stem));
}

void NewArchives::RefuseWhatStandsAt(const std::string& path) const {
  mRefuse(path);
  if (StatusOf(path, Links::kNot)) {
    if (!mPlace.mayReplace) throw Failure(path + " exists; --force replaces it");
    const auto status = StatusOf(path);
    if (status && !S_ISREG(status->stx_mode)) throw Failure(path + " is not a plain file");
    if (status && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
      throw Failure("cannot write " + path + ": " + std::strerror(errno));
  }
  RefuseIndexBeside(path, mPlace.mayReplace);
}

void NewArchives::Begin() {
  mFile = std::make_unique<UnfinishedFile>(mPlace.path, kSuffix);
  mCheck = std::make_unique<CheckWhileWritten>(mFile->Path());
  mFile->OnGrowth([check = mCheck.get()](std::uint64_t size) { check->Grow(size); });
}

void NewArchives::End(std::uint64_t entries) {
  mFile->Finish();
  const auto [facts, findings] = mCheck->End(mFile->Size());
  RequireNothingWrong(findings);
  if (facts.entries != entries || facts.bytes != mFile->Size()) {
    throw Failure(fmt::format(
        "what was written has {} entries instead of {}, and was removed; does something else "
        "write to it, or to the source?",
        facts.entries, entries));
  }
  mFile->Save();
  mArchives.push_back({"", facts.startTime, facts.endTime, facts.entries, facts.bytes});
  mEnded.push_back(std::move(mFile));
}

void NewArchives::TakeNames() {
  for (std::size_t number = 0; number < mArchives.size(); ++number) {
    mArchives[number].path = NameOf(number, mArchives.size());
    RefuseWhatStandsAt(mArchives[number].path);
  }
  for (std::size_t number = 0; number < mEnded.size(); ++number) {
    try {
      TakeName(number);
    } catch (...) {
      TakeNamesBack(number);
      throw;
    }
  }
}

std::vector<std::string> NewArchives::OtherParts() const {
  std::vector<std::string> others;
  if (!mPlace.isInParts) return others;
  std::set<std::string> own;
  for (const NewArchive& archive : mArchives) own.insert(archive_source::FileName(archive.path));
  const std::filesystem::path output = mPlace.path;
  const std::string start = output.stem().string() + "-";
  const std::filesystem::path folder = output.has_parent_path() ? output.parent_path() : ".";
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const std::string name = entry->path().filename().string();
    const std::string stem = entry->path().stem().string();
    if (entry->path().extension() != output.extension() || own.count(name) > 0) continue;
    if (stem.compare(0, start.size(), start) != 0) continue;
    const std::string number = stem.substr(start.size());
    if (number.size() >= kFewestDigits &&
        number.find_first_not_of("0123456789") == std::string::npos)
      others.push_back(name);
  }
  std::sort(others.begin(), others.end());
  return others;
}

void NewArchives::TakeName(std::size_t number) {
  const std::string& path = mArchives[number].path;
  if (mPlace.mayReplace) RemoveIndexBeside(path);
  mEnded[number]->TakeName(path, mPlace.mayReplace ? UnfinishedFile::Existing::kReplace
                                                   : UnfinishedFile::Existing::kKeep);
}

// Takes back the names of the first ones. What they replaced cannot be restored.
void NewArchives::TakeNamesBack(std::size_t count) {
  if (mPlace.mayReplace) return;
  for (std::size_t number = 0; number < count; ++number) unlink(mArchives[number].path.c_str());
}
