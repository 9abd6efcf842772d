#include "client/timeline.h"

#include <algorithm>
#include <utility>

#include "indexer/time_range.h"
#include "sources/archive_source.h"
#include "system/failure.h"

namespace {

// A walk in time goes from one archive to the next; overlapping ones take turns.
constexpr std::size_t kMostOpened = 4;

bool LiesEarlier(const ServedArchive& one, const ServedArchive& other) {
  if (one.IsLeftOut() != other.IsLeftOut()) return other.IsLeftOut();
  return one.start < other.start;
}

}  // namespace

Timeline::Timeline(ServedSource* source, Progress* progress)
    : mSource(*source), mProgress(*progress), mIndexes(source, progress) {
  const SourceFacts& facts = mSource.Facts();
  if (facts.Files().empty()) archive_source::FailWithoutFiles(facts.Path());
  for (const std::string& path : facts.Archives()) {
    ServedArchive archive;
    archive.path = path;
    mArchives.push_back(archive);
  }
  ForEach("looking at", [this](std::size_t number) { mIndexes.Look(&mArchives[number]); });
  // Archives with equal starts stay in the order of their names.
  std::stable_sort(mArchives.begin(), mArchives.end(), LiesEarlier);
}

void Timeline::ForEach(const std::string& what,
                       const std::function<void(std::size_t number)>& work) const {
  WorkState state;
  state.what = what;
  state.unit = WorkState::Unit::kFiles;
  state.all = state.count = mArchives.size();
  for (std::size_t number = 0; number < mArchives.size(); ++number) {
    state.name = archive_source::FileName(mArchives[number].path);
    state.number = number + 1;
    state.done = number;
    mProgress.Show(state);
    work(number);
  }
  mProgress.Clear();
}

void Timeline::IndexAll(const IndexingOptions& options) {
  std::vector<ServedArchive*> missing;
  for (ServedArchive& archive : mArchives) {
    if (archive.state == ServedArchive::State::kNotIndexed) missing.push_back(&archive);
  }
  mIndexes.BuildAll(missing, options);
}

void Timeline::RequireOne() const {
  const auto served =
      std::find_if(mArchives.begin(), mArchives.end(),
                   [](const ServedArchive& archive) { return !archive.IsLeftOut(); });
  if (served != mArchives.end()) return;
  // What is left out may hold something.
  const bool leavesOut = mSource.Missing() == MissingIndexes::kLeaveOut;
  const ExitCode exitCode = leavesOut ? kExitDamaged : kExitFailed;
  if (!mSource.Facts().IsFolder()) {
    const ServedArchive& archive = mArchives.front();
    throw Failure(mSource.Facts().NameOf(archive.path) + " " + archive.why, exitCode);
  }
  throw Failure("no archive in " + mSource.Path() + " can be served", exitCode);
}

OpenedArchive* Timeline::Open(std::size_t number) {
  const auto opened = std::find_if(mOpened.begin(), mOpened.end(),
                                   [number](const Opened& each) { return each.number == number; });
  if (opened != mOpened.end()) {
    mOpened.splice(mOpened.begin(), mOpened, opened);
  } else {
    std::unique_ptr<OpenedArchive> archive = mIndexes.Open(&mArchives[number]);
    if (archive == nullptr) return nullptr;
    if (mOpened.size() == kMostOpened) mOpened.pop_back();
    mOpened.push_front({number, std::move(archive)});
  }
  return mOpened.front().archive.get();
}

std::optional<FoundEntry> Timeline::Find(ArchiveTime time, Lookup lookup) {
  std::optional<FoundEntry> found;
  std::optional<std::size_t> next;  // the first archive that begins later
  for (std::size_t number = mArchives.size(); number-- > 0;) {
    const ServedArchive& archive = mArchives[number];
    if (archive.IsLeftOut()) continue;
    if (archive.start > time) {
      next = number;
      continue;
    }
    const bool mayHold = time <= archive.end + ToArchiveTime(TimeRange::kLongestStep);
    if (!mayHold || (found && archive.end <= found->time)) continue;
    OpenedArchive* const opened = Open(number);
    const auto entry = opened == nullptr ? std::nullopt : opened->EntryAt(time);
    // Where archives overlap, the latest entry counts.
    if (entry && (!found || opened->Index().TimeOf(*entry) > found->time))
      found = Entry(number, *opened, *entry);
  }
  if (found && lookup == Lookup::kNext) return Next(*found);
  if (found && lookup == Lookup::kPrevious) return Previous(*found);
  if (found || !next) return found;
  const std::optional<FoundEntry> before = LastBefore(*next);
  if (lookup == Lookup::kPrevious || !before) return before;
  return FirstOfOrAfter(*next);
}

std::optional<FoundEntry> Timeline::FirstFrom(ArchiveTime time) {
  std::optional<FoundEntry> first;
  ArchiveTime firstPlace = 0;
  if (Start() > time) return first;
  for (std::size_t number = 0; number < mArchives.size(); ++number) {
    const ServedArchive& archive = mArchives[number];
    if (archive.IsLeftOut() || archive.end < time) continue;
    if (first && archive.start >= firstPlace) break;
    const OpenedArchive* const opened = Open(number);
    const auto entry = opened == nullptr ? std::nullopt : opened->FirstFrom(time);
    if (!entry) continue;
    const ArchiveTime place = opened->Index().PlaceOf(*entry);
    if (first && firstPlace <= place) continue;
    first = Entry(number, *opened, *entry);
    firstPlace = place;
  }
  return first;
}

FoundEntry Timeline::Entry(std::size_t number, const OpenedArchive& opened,
                           std::size_t entry) const {
  return {static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(entry),
          opened.Index().TimeOf(entry)};
}

std::optional<FoundEntry> Timeline::FirstOfOrAfter(std::size_t number) {
  for (; number < mArchives.size(); ++number) {
    const OpenedArchive* const opened = mArchives[number].IsLeftOut() ? nullptr : Open(number);
    if (opened != nullptr) return Entry(number, *opened, 0);
  }
  return std::nullopt;
}

std::optional<FoundEntry> Timeline::LastBefore(std::size_t number) {
  while (number-- > 0) {
    const OpenedArchive* const opened = mArchives[number].IsLeftOut() ? nullptr : Open(number);
    if (opened != nullptr) return Entry(number, *opened, opened->Index().Count() - 1);
  }
  return std::nullopt;
}

std::optional<FoundEntry> Timeline::Next(const FoundEntry& found) {
  const OpenedArchive* const opened = Open(found.fileNumber);
  if (opened != nullptr && found.entryNumber + 1 < opened->Index().Count())
    return Entry(found.fileNumber, *opened, found.entryNumber + 1);
  return FirstOfOrAfter(found.fileNumber + 1);
}

std::optional<FoundEntry> Timeline::Previous(const FoundEntry& found) {
  const OpenedArchive* const opened = Open(found.fileNumber);
  if (opened != nullptr && found.entryNumber > 0)
    return Entry(found.fileNumber, *opened, found.entryNumber - 1);
  return LastBefore(found.fileNumber);
}

ArchiveTime Timeline::Start() const {
  const auto served =
      std::find_if(mArchives.begin(), mArchives.end(),
                   [](const ServedArchive& archive) { return !archive.IsLeftOut(); });
  return served == mArchives.end() ? mArchives.front().start : served->start;
}

ArchiveTime Timeline::End() const {
  ArchiveTime end = 0;
  for (const ServedArchive& archive : mArchives) {
    if (!archive.IsLeftOut()) end = std::max(end, archive.end);
  }
  return end;
}

void Timeline::Doubt(std::size_t number, const std::string& why) {
  if (mDoubts.insert({number, why}).second)
    mSource.Tell(mSource.Facts().NameOf(mArchives[number].path) + " " + why);
}

bool Timeline::IsWhole() const {
  return !mSource.LeavesOut() && mDoubts.empty() &&
         std::none_of(mArchives.begin(), mArchives.end(), [](const ServedArchive& archive) {
           return archive.IsLeftOut() || archive.endsEarly;
         });
}

void Timeline::FailWithNothing(const std::string& what, const std::string& hint) const {
  RequireOne();
  if (IsWhole()) throw Failure(what + hint, kExitNothing);
  throw Failure(what + ", but not everything is known" + hint, kExitDamaged);
}
