#include "client/proven_indexes.h"

#include <chrono>
#include <limits>
#include <utility>

#include "archive/archive_ends.h"
#include "archive/archive_headers.h"
#include "archive/exact_index.h"
#include "client/index_past_holes.h"
#include "client/progress_of_files.h"
#include "sources/archive_source.h"
#include "system/file_data.h"
#include "system/file_handle.h"
#include "system/file_status.h"
#include "system/interruption.h"

namespace {

using State = ServedArchive::State;

// A growing archive may have grown again by the time its index has been built.
constexpr int kMostBuilds = 3;

// Up to this size an archive is compared with its index as a whole, which takes no longer than
// looking at some entries of a large one.
constexpr std::uint64_t kSmallArchive = 256 << 10;

// A file that has not been written to for this long is no longer being written.
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

// Shows progress in another way for a while.
class ProgressFor {
 public:
  ProgressFor(Progress* progress, Progress** place) : mPlace(*place), mBefore(*place) {
    mPlace = progress;
  }
  ~ProgressFor() { mPlace = mBefore; }
  ProgressFor(const ProgressFor&) = delete;
  ProgressFor& operator=(const ProgressFor&) = delete;

 private:
  Progress*& mPlace;
  Progress* const mBefore;
};

void SetSpan(const IndexedSpan& span, ServedArchive* archive) {
  archive->start = span.start;
  archive->end = span.end;
  archive->entries = span.entries;
  archive->step = span.step;
  archive->misplaced = span.misplaced;
}

}  // namespace

ProvenIndexes::ProvenIndexes(ServedSource* source, Progress* progress)
    : mSource(*source), mProgress(progress), mPlugIns(source->Host()) {}

ArchiveIdentity ProvenIndexes::IdentityOf(const ServedArchive& archive) const {
  return LookAtArchive(archive.path, mSource.Facts().IndexFolderOf(archive.path));
}

void ProvenIndexes::Tell(const ServedArchive& archive, const std::string& what) const {
  mSource.Tell(mSource.Facts().NameOf(archive.path) + " " + what);
}

void ProvenIndexes::Look(ServedArchive* archive) {
  interruption::Check();
  const SourceFacts& facts = mSource.Facts();
  auto known = facts.Known(archive->path);
  if (!known) {
    known = facts.MemoryOf(archive->path)
                .Find(archive_source::FileName(archive->path), IdentityOf(*archive));
  }
  if (known) {
    archive->state = State::kCached;
    archive->start = known->start;
    archive->end = known->end;
    archive->entries = known->entryCount;
    archive->step = known->step;
    archive->misplaced = known->misplaced;
    return;
  }
  if (facts.HasIndex(archive->path) && LookIntoIndex(archive)) return;
  LookAtEnds(archive);
}

// Whether nothing more is to be done: the index is that of the archive, or the archive is left out.
bool ProvenIndexes::LookIntoIndex(ServedArchive* archive) {
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

IndexFit ProvenIndexes::FitWithCache(const ServedArchive& archive, const KeptIndex& index,
                                     const PlainFile& file, const ArchiveIdentity& identity) {
  IndexFit fit = FitOf(index, file);
  if (fit.verdict != IndexFit::Verdict::kFits) return fit;
  if (mSource.Facts()
          .MemoryOf(archive.path)
          .KnowsAnotherIndex(archive_source::FileName(archive.path), identity))
    return NotOwn("has an index that was changed since it was last looked at");
  if (file.Size() <= kSmallArchive &&
      !IsExactIndex(mSource.Facts().CacheOf(archive.path), archive.path)) {
    return NotOwn("has an index that does not say what it holds");
  }
  return fit;
}

void ProvenIndexes::LookAtEnds(ServedArchive* archive) {
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

void ProvenIndexes::Accept(const IndexedSpan& span, const ArchiveIdentity& identity,
                           ServedArchive* archive) {
  SetSpan(span, archive);
  if (archive->endsEarly || LeavesOutMissing()) return;
  CheckedFacts facts;
  facts.entryCount = span.entries;
  facts.start = span.start;
  facts.end = span.end;
  facts.step = span.step;
  facts.misplaced = span.misplaced;
  mSource.Facts()
      .MemoryOf(archive->path)
      .Remember(archive_source::FileName(archive->path), identity, facts);
}

void ProvenIndexes::LeaveOut(const std::string& why, ServedArchive* archive) {
  archive->state = State::kLeftOut;
  archive->why = why;
  if (mSource.Facts().IsFolder()) Tell(*archive, why + "; it is left out");
}

void ProvenIndexes::Build(ServedArchive* archive) {
  if (LeavesOutMissing()) {
    return LeaveOut(archive->why.empty() ? "has no index, and none is built" : archive->why,
                    archive);
  }
  // A reader would leave empty files where its index should be.
  if (!archive_source::IsKnownToParsers(archive->path)) return LeaveOut(kWhyNoIndex, archive);
  mSource.Facts().MemoryOf(archive->path).Forget(archive_source::FileName(archive->path));
  for (int i = 0; i < kMostBuilds; ++i) {
    const std::optional<State> built = BuildOnce(*archive);
    const ArchiveIdentity identity = IdentityOf(*archive);
    const std::unique_ptr<PlainFile> file = OpenFile(archive->path);
    const auto index = file == nullptr || !built
                           ? std::nullopt
                           : KeptIndex::Load(mSource.Facts().CacheOf(archive->path), file->Size());
    if (!index) return Collect(archive);
    // The index of an archive that has grown since the run began goes up to there.
    if (FitOf(*index, *file).verdict != IndexFit::Verdict::kOther) {
      archive->state = *built;
      return Accept(SpanOf(*index), identity, archive);
    }
    mSource.DropIndex(archive->path, false);
  }
  Collect(archive);
}

void ProvenIndexes::BuildAll(const std::vector<ServedArchive*>& archives,
                             const IndexingOptions& options) {
  std::vector<std::string> paths;
  // Where no index is built, none is removed.
  for (const ServedArchive* const archive : archives) {
    if (!LeavesOutMissing()) paths.push_back(archive->path);
  }
  const ServedSource::OneScan scan(&mSource, std::move(paths));
  if (options.jobs > 1 && archives.size() > 1) {
    BuildInWorkers(archives, options);
  } else {
    BuildInOrder(archives, options);
  }
}

void ProvenIndexes::BuildInOrder(const std::vector<ServedArchive*>& archives,
                                 const IndexingOptions& options) {
  std::vector<std::uint64_t> sizes;
  for (const ServedArchive* const archive : archives) sizes.push_back(WorkOn(*archive, options));
  ProgressOfFiles progress(std::move(sizes), mProgress);
  const ProgressFor shown(&progress, &mProgress);
  for (std::size_t place = 0; place < archives.size(); ++place) {
    progress.Begin(place);
    BuildOneOfAll(archives[place], options);
  }
}

// In bytes to be read.
std::uint64_t ProvenIndexes::WorkOn(const ServedArchive& archive,
                                    const IndexingOptions& options) const {
  if (LeavesOutMissing()) return 0;
  const std::uint64_t checked = options.findDamage ? DataBytes(OpenForReading(archive.path)) : 0;
  return BytesToIndex(archive.path) + checked;
}

void ProvenIndexes::BuildOneOfAll(ServedArchive* archive, const IndexingOptions& options) {
  Build(archive);
  if (options.findDamage && archive->state == State::kIndexed)
    archive->damage = ShownDamageOf(archive->path, mProgress);
}

// Nothing when no index can be kept.
std::optional<State> ProvenIndexes::BuildOnce(const ServedArchive& archive) {
  State state = State::kIndexed;
  if (IsMostlyHoles(archive.path)) {
    if (!IndexPastHoles(archive.path, mSource, mProgress)) return std::nullopt;
  } else {
    const ArchiveClient client(mPlugIns, mSource, archive.path, mProgress);
    if (!client.IsServed()) return std::nullopt;
    if (!client.BuiltAnIndex()) state = State::kCached;
  }
  mBuiltAnIndex = mBuiltAnIndex || state == State::kIndexed;
  return state;
}

// An archive without a place for its index is served from memory as long as the program runs.
void ProvenIndexes::Collect(ServedArchive* archive) {
  auto index = KeptIndex::Collect(archive->path);
  if (!index) return LeaveOut("holds no index entry", archive);
  archive->state = State::kIndexed;
  SetSpan(SpanOf(*index), archive);
  Tell(*archive, "has an index that cannot be kept");
  mCollected.insert_or_assign(archive->path, std::move(*index));
}

// Nothing when it is no longer whole.
std::optional<KeptIndex> ProvenIndexes::LoadIndex(const ServedArchive& archive) const {
  const auto collected = mCollected.find(archive.path);
  if (collected != mCollected.end()) return collected->second;
  const std::unique_ptr<PlainFile> file = archive.HasIndex() ? OpenFile(archive.path) : nullptr;
  if (file == nullptr) return std::nullopt;
  auto index = KeptIndex::Load(mSource.Facts().CacheOf(archive.path), file->Size());
  const bool isWhole = index && index->Count() == archive.entries &&
                       (!index->Headers().empty() || !HeaderAt(*file, 0));
  return isWhole ? std::move(index) : std::nullopt;
}

std::unique_ptr<OpenedArchive> ProvenIndexes::Open(ServedArchive* archive) {
  if (archive->state == State::kNotIndexed) Build(archive);
  auto index = LoadIndex(*archive);
  if (!index && !archive->IsLeftOut()) {
    // A reader of another archive may have deleted it: folders of indexes have a limit.
    Build(archive);
    index = LoadIndex(*archive);
    if (!index && !archive->IsLeftOut()) Collect(archive);
    if (!index) index = LoadIndex(*archive);
  }
  std::unique_ptr<PlainFile> file = OpenFile(archive->path);
  if (!archive->IsLeftOut() && (!index || file == nullptr))
    LeaveOut("was there a moment ago, and is gone", archive);
  if (archive->IsLeftOut()) return nullptr;
  OpenedArchive::MakeReader makeReader;
  if (mCollected.count(archive->path) == 0) {
    makeReader = [this, path = archive->path] {
      return std::make_unique<ArchiveClient>(mPlugIns, mSource, path, mProgress);
    };
  }
  return std::make_unique<OpenedArchive>(std::move(file), std::move(*index), makeReader);
}
