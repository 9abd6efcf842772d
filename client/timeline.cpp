#include "client/timeline.h"

#include <strings.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "archive/archive_ends.h"
#include "archive/archive_headers.h"
#include "archive/exact_index.h"
#include "archive/index_fit.h"
#include "client/index_past_holes.h"
#include "indexer/time_range.h"
#include "sources/archive_source.h"
#include "sources/index_place.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"

namespace {

using State = ServedArchive::State;

// A walk in time goes from one archive to the next; overlapping ones take turns.
constexpr std::size_t kMostOpened = 4;

// An archive that grows may have done so again when its index has been built.
constexpr int kMostBuilds = 3;

// An index is compared with all of an archive of this size, which takes no longer than to look at
// some entries of a large one.
constexpr std::uint64_t kSmallArchive = 256 << 10;

// What has not been written for so long is not being written any more.
constexpr std::chrono::seconds kQuiet(60);

std::unique_ptr<PlainFile> OpenFile(const std::string& path) {
  auto file = std::make_unique<PlainFile>();
  if (!file->Open(path, PlainFile::Mode::kRead)) return nullptr;
  return file;
}

bool IsBeingWritten(const std::string& path) {
  const auto status = StatusOf(path);
  if (!status) return false;
  const auto modified = std::chrono::system_clock::from_time_t(status->stx_mtime.tv_sec);
  return std::chrono::system_clock::now() - modified < kQuiet;
}

IndexFit NotOwn(const std::string& why) {
  IndexFit fit;
  fit.verdict = IndexFit::Verdict::kOther;
  fit.why = why;
  return fit;
}

void SetSpan(const IndexedSpan& span, ServedArchive* archive) {
  archive->start = span.start;
  archive->end = span.end;
  archive->entries = span.entries;
  archive->step = span.step;
  archive->timesAscend = span.TimesAscend();
}

// No parser knows older files, whose names end differently.
bool IsOfThisFormat(const std::string& path) {
  const std::string suffix = ".zel3";
  return path.size() > suffix.size() &&
         strcasecmp(path.c_str() + path.size() - suffix.size(), suffix.c_str()) == 0;
}

bool LiesEarlier(const ServedArchive& one, const ServedArchive& other) {
  if (one.IsLeftOut() != other.IsLeftOut()) return other.IsLeftOut();
  return one.start < other.start;
}

}  // namespace

Timeline::Timeline(ServedSource* source, Progress* progress)
    : mSource(*source), mProgress(progress), mPlugIns(source->Host()) {
  const SourceFacts& facts = mSource.Facts();
  if (facts.Files().empty()) archive_source::FailWithoutFiles(facts.Path());
  for (const std::string& path : facts.Archives()) {
    ServedArchive archive;
    archive.path = path;
    mArchives.push_back(archive);
  }
  for (ServedArchive& archive : mArchives) Look(&archive);
  // Of equal starts the names decide, by which they come.
  std::stable_sort(mArchives.begin(), mArchives.end(), LiesEarlier);
}

ArchiveIdentity Timeline::IdentityOf(const ServedArchive& archive) const {
  return LookAtArchive(archive.path, mSource.Facts().IndexFolderOf(archive.path));
}

void Timeline::Tell(const ServedArchive& archive, const std::string& what) const {
  mSource.Tell(archive_source::FileName(archive.path) + " " + what);
}

void Timeline::Look(ServedArchive* archive) {
  interruption::Check();
  const SourceFacts& facts = mSource.Facts();
  auto known = facts.Known(archive->path);
  if (!known) {
    known = facts.Memory().Find(archive_source::FileName(archive->path), IdentityOf(*archive));
  }
  if (known) {
    archive->state = State::kCached;
    archive->start = known->start;
    archive->end = known->end;
    archive->entries = known->entryCount;
    archive->step = known->step;
    archive->timesAscend = known->timesAscend;
    return;
  }
  if (facts.HasIndex(archive->path) && LookIntoIndex(archive)) return;
  LookAtEnds(archive);
}

// Whether nothing more is to be done: the index is that of the archive, or it is left out.
bool Timeline::LookIntoIndex(ServedArchive* archive) {
  const ArchiveIdentity identity = IdentityOf(*archive);
  const std::unique_ptr<PlainFile> file = OpenFile(archive->path);
  if (file == nullptr) {
    LeaveOut("cannot be opened", archive);
    return true;
  }
  const auto index = KeptIndex::Load(mSource.Facts().CacheOf(archive->path), file->Size());
  const IndexFit fit = index ? FitWithCache(*archive, *index, *file, identity)
                             : NotOwn("has an index that cannot be its own");
  const bool grown = fit.verdict == IndexFit::Verdict::kGrown;
  if (fit.verdict == IndexFit::Verdict::kFits || (grown && LeavesOutMissing())) {
    archive->state = State::kCached;
    archive->endsEarly = grown;
    if (grown) Tell(*archive, fit.why + "; what comes there is left out");
    Accept(SpanOf(*index), identity, archive);
    return true;
  }
  if (LeavesOutMissing()) {
    archive->why = fit.why + "; its index is not believed, and none is built";
    return false;
  }
  Tell(*archive, fit.why + "; the index is built again");
  mSource.DropIndex(archive->path, grown && IsBeingWritten(archive->path));
  return false;
}

IndexFit Timeline::FitWithCache(const ServedArchive& archive, const KeptIndex& index,
                                const PlainFile& file, const ArchiveIdentity& identity) {
  IndexFit fit = FitOf(index, file);
  if (fit.verdict != IndexFit::Verdict::kFits) return fit;
  if (mSource.Facts().Memory().KnowsAnotherIndex(archive_source::FileName(archive.path), identity))
    return NotOwn("has an index that was changed since it was last looked at");
  if (file.Size() <= kSmallArchive &&
      !IsExactIndex(mSource.Facts().CacheOf(archive.path), archive.path)) {
    return NotOwn("has an index that does not say what it holds");
  }
  return fit;
}

void Timeline::LookAtEnds(ServedArchive* archive) {
  const std::unique_ptr<PlainFile> file = OpenFile(archive->path);
  const auto ends = file == nullptr ? std::nullopt : EndsOf(*file);
  if (ends && ends->start <= ends->end) {
    archive->start = ends->start;
    archive->end = ends->end;
    if (ends->isCutOff && !LeavesOutMissing() && IsBeingWritten(archive->path))
      mSource.IndexPrivately(archive->path);
  } else if (LeavesOutMissing()) {
    archive->end = ToArchiveTime(std::numeric_limits<IndexTime>::max());
  } else {
    Build(archive);
  }
}

void Timeline::Accept(const IndexedSpan& span, const ArchiveIdentity& identity,
                      ServedArchive* archive) {
  SetSpan(span, archive);
  if (archive->endsEarly || LeavesOutMissing()) return;
  CheckedFacts facts;
  facts.entryCount = span.entries;
  facts.start = span.start;
  facts.end = span.end;
  facts.step = span.step;
  facts.timesAscend = span.TimesAscend();
  mSource.Facts().Memory().Remember(archive_source::FileName(archive->path), identity, facts);
}

void Timeline::LeaveOut(const std::string& why, ServedArchive* archive) {
  archive->state = State::kLeftOut;
  archive->why = why;
  if (mSource.Facts().IsFolder()) Tell(*archive, why + "; it is left out");
}

void Timeline::Build(ServedArchive* archive) {
  if (LeavesOutMissing()) {
    return LeaveOut(archive->why.empty() ? "has no index, and none is built" : archive->why,
                    archive);
  }
  mSource.Facts().Memory().Forget(archive_source::FileName(archive->path));
  for (int i = 0; i < kMostBuilds; ++i) {
    const std::optional<State> built = BuildOnce(*archive);
    const ArchiveIdentity identity = IdentityOf(*archive);
    const std::unique_ptr<PlainFile> file = OpenFile(archive->path);
    const auto index = file == nullptr || !built
                           ? std::nullopt
                           : KeptIndex::Load(mSource.Facts().CacheOf(archive->path), file->Size());
    if (!index) return Collect(archive);
    // One that has grown since the run began has its index up to there.
    if (FitOf(*index, *file).verdict != IndexFit::Verdict::kOther) {
      archive->state = *built;
      return Accept(SpanOf(*index), identity, archive);
    }
    mSource.DropIndex(archive->path, false);
  }
  Collect(archive);
}

// Nothing when no index can be kept.
std::optional<State> Timeline::BuildOnce(const ServedArchive& archive) {
  State state = State::kIndexed;
  if (IsMostlyHoles(archive.path)) {
    if (!IndexPastHoles(archive.path, mSource)) return std::nullopt;
  } else {
    const ArchiveClient client(mPlugIns, mSource, archive.path, mProgress);
    if (!client.IsServed()) return std::nullopt;
    if (!client.BuiltAnIndex()) state = State::kCached;
  }
  mBuiltAnIndex = mBuiltAnIndex || state == State::kIndexed;
  return state;
}

// Without a place for its index an archive is served as long as the program runs.
void Timeline::Collect(ServedArchive* archive) {
  if (!IsOfThisFormat(archive->path)) return LeaveOut(kWhyNoIndex, archive);
  auto index = KeptIndex::Collect(archive->path);
  if (!index) return LeaveOut("holds no index entry", archive);
  archive->state = State::kIndexed;
  SetSpan(SpanOf(*index), archive);
  Tell(*archive, "has an index that cannot be kept");
  mCollected.insert_or_assign(archive->path, std::move(*index));
}

void Timeline::IndexAll() {
  for (ServedArchive& archive : mArchives) {
    if (archive.state == State::kNotIndexed) Build(&archive);
  }
}

void Timeline::RequireOne() const {
  const auto served =
      std::find_if(mArchives.begin(), mArchives.end(),
                   [](const ServedArchive& archive) { return !archive.IsLeftOut(); });
  if (served != mArchives.end()) return;
  // What is left out is not known to be nothing.
  const ExitCode exitCode = LeavesOutMissing() ? kExitDamaged : kExitFailed;
  if (!mSource.Facts().IsFolder()) {
    const ServedArchive& archive = mArchives.front();
    throw Failure(archive_source::FileName(archive.path) + " " + archive.why, exitCode);
  }
  throw Failure("no archive in " + mSource.Path() + " can be served", exitCode);
}

// Nothing when it is not whole any more.
std::optional<KeptIndex> Timeline::LoadIndex(const ServedArchive& archive) const {
  const auto collected = mCollected.find(archive.path);
  if (collected != mCollected.end()) return collected->second;
  const std::unique_ptr<PlainFile> file = archive.HasIndex() ? OpenFile(archive.path) : nullptr;
  if (file == nullptr) return std::nullopt;
  auto index = KeptIndex::Load(mSource.Facts().CacheOf(archive.path), file->Size());
  const bool isWhole = index && index->Count() == archive.entries &&
                       (!index->Headers().empty() || !HeaderAt(*file, 0));
  return isWhole ? std::move(index) : std::nullopt;
}

OpenedArchive* Timeline::Open(std::size_t number) {
  const auto opened = std::find_if(mOpened.begin(), mOpened.end(),
                                   [number](const Opened& each) { return each.number == number; });
  if (opened != mOpened.end()) {
    mOpened.splice(mOpened.begin(), mOpened, opened);
    return mOpened.front().archive.get();
  }
  ServedArchive& archive = mArchives[number];
  if (archive.state == State::kNotIndexed) Build(&archive);
  auto index = LoadIndex(archive);
  if (!index && !archive.IsLeftOut()) {
    // A reader of another archive may have deleted it: folders of indexes have a limit.
    Build(&archive);
    index = LoadIndex(archive);
    if (!index && !archive.IsLeftOut()) Collect(&archive);
    if (!index) index = LoadIndex(archive);
  }
  std::unique_ptr<PlainFile> file = OpenFile(archive.path);
  if (!archive.IsLeftOut() && (!index || file == nullptr))
    LeaveOut("was there a moment ago, and is gone", &archive);
  if (archive.IsLeftOut()) return nullptr;
  OpenedArchive::MakeReader makeReader;
  if (mCollected.count(archive.path) == 0) {
    makeReader = [this, path = archive.path] {
      return std::make_unique<ArchiveClient>(mPlugIns, mSource, path, mProgress);
    };
  }
  if (mOpened.size() == kMostOpened) mOpened.pop_back();
  mOpened.push_front(
      {number, std::make_unique<OpenedArchive>(std::move(file), std::move(*index), makeReader)});
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
    // Where archives overlap, it is the latest entry.
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
  if (mArchives.front().start > time) return first;
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
  return mArchives.front().start;
}

ArchiveTime Timeline::End() const {
  ArchiveTime end = 0;
  for (const ServedArchive& archive : mArchives) {
    if (!archive.IsLeftOut()) end = std::max(end, archive.end);
  }
  return end;
}

void Timeline::Doubt(std::size_t number, const std::string& why) {
  if (mDoubts.insert({number, why}).second) Tell(mArchives[number], why);
}

bool Timeline::IsWhole() const {
  return !mSource.LeavesOut() && mDoubts.empty() &&
         std::none_of(mArchives.begin(), mArchives.end(), [](const ServedArchive& archive) {
           return archive.IsLeftOut() || archive.endsEarly;
         });
}

void Timeline::FailWithNothing(const std::string& what) const {
  RequireOne();
  if (IsWhole()) throw Failure(what, kExitNothing);
  throw Failure(what + ", but not all is known", kExitDamaged);
}
