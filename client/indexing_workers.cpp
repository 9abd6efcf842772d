// Part of ProvenIndexes: the indexes of many archives, built by several processes.

#include <algorithm>
#include <cstring>
#include <functional>
#include <type_traits>
#include <utility>

#include "archive/damage_scan.h"
#include "client/progress_of_files.h"
#include "client/proven_indexes.h"
#include "sources/archive_source.h"
#include "system/worker_processes.h"

namespace {

// What a worker tells begins with one of these.
constexpr char kNotice = 'n';
constexpr char kBytesDone = 'b';

// Tells the process that the user sees how far a worker is.
class ToldProgress : public Progress {
 public:
  explicit ToldProgress(const WorkerCalls::Tell& tell) : mTell(tell) {}

  void Show(const WorkState& state) override {
    // Nobody sees a smaller change.
    if (state.done >= mTold && state.done - mTold < state.all / 200) return;
    mTold = state.done;
    mTell(kBytesDone + std::to_string(mTold));
  }
  void Clear() override {}

 private:
  const WorkerCalls::Tell& mTell;
  std::uint64_t mTold = 0;
};

// What has been found out about an archive, as one process of the program tells another.
struct FoundOut {
  ServedArchive::State state;
  bool endsEarly;
  bool damageKnown;
  ArchiveTime start;
  ArchiveTime end;
  std::uint64_t entries;
  ArchiveTime step;
  std::uint64_t misplaced;
  Damage damage;
};
static_assert(std::is_trivially_copyable_v<FoundOut>);

std::string AsMessage(const ServedArchive& archive) {
  const FoundOut found{archive.state, archive.endsEarly, archive.damage.has_value(),
                       archive.start, archive.end,       archive.entries,
                       archive.step,  archive.misplaced, archive.damage.value_or(Damage())};
  std::string message(sizeof(found), '\0');
  std::memcpy(message.data(), &found, sizeof(found));
  return message + archive.why;
}

void TakeMessage(const std::string& message, ServedArchive* archive) {
  FoundOut found;
  std::memcpy(&found, message.data(), sizeof(found));
  archive->state = found.state;
  archive->why = message.substr(sizeof(found));
  archive->start = found.start;
  archive->end = found.end;
  archive->entries = found.entries;
  archive->step = found.step;
  archive->misplaced = found.misplaced;
  archive->endsEarly = found.endsEarly;
  if (found.damageKnown) archive->damage = found.damage;
}

// One display for all workers.
class ProgressOfAll {
 public:
  // `sizes`: how many bytes there are to read for each archive. Borrows the display.
  ProgressOfAll(std::vector<std::uint64_t> sizes, Progress* progress)
      : mSizes(std::move(sizes)), mDone(mSizes.size(), 0), mProgress(*progress) {
    mState.what = "indexing";
    mState.count = mSizes.size();
    for (const std::uint64_t size : mSizes) mState.all += size;
  }

  const std::vector<std::uint64_t>& Sizes() const { return mSizes; }

  void Show(std::size_t archive, std::uint64_t done) {
    // Less than before when an index is begun anew.
    mState.done -= mDone[archive];
    mDone[archive] = std::min(done, mSizes[archive]);
    mState.done += mDone[archive];
    mProgress.Show(mState);
  }
  void End(std::size_t archive) {
    ++mState.number;
    Show(archive, mSizes[archive]);
  }

 private:
  const std::vector<std::uint64_t> mSizes;
  std::vector<std::uint64_t> mDone;
  WorkState mState;  // its number is that of the files that are done
  Progress& mProgress;
};

}  // namespace

void ProvenIndexes::BuildInWorkers(const std::vector<ServedArchive*>& archives,
                                   const IndexingOptions& options) {
  std::vector<std::uint64_t> sizes;
  for (const ServedArchive* const archive : archives) sizes.push_back(WorkOn(*archive, options));
  ProgressOfAll progress(std::move(sizes), mProgress);
  WorkerCalls calls;
  calls.work = [&](std::size_t piece, const WorkerCalls::Tell& tell) {
    mSource.TellBy([tell](const std::string& notice) { tell(kNotice + notice); });
    ToldProgress told(tell);
    ProgressOfFiles ofOne({progress.Sizes()[piece]}, &told);
    mProgress = &ofOne;
    BuildOneOfAll(archives[piece], options);
    return AsMessage(*archives[piece]);
  };
  calls.endWorker = [this] { mSource.RemovePassingPlace(); };
  calls.onTold = [&](std::size_t piece, const std::string& message) {
    const std::string text = message.substr(1);
    if (message.front() == kNotice) {
      mSource.Tell(text);
    } else {
      progress.Show(piece, std::stoull(text));
    }
  };
  calls.onDone = [&](std::size_t piece, const std::string& result) {
    ServedArchive& archive = *archives[piece];
    TakeMessage(result, &archive);
    mBuiltAnIndex = mBuiltAnIndex || archive.state == ServedArchive::State::kIndexed;
    progress.End(piece);
  };
  calls.onFailed = [&](std::size_t piece, const std::string& why) {
    LeaveOut("cannot be indexed: " + why, archives[piece]);
    progress.End(piece);
  };
  // When workers forget, this process does not.
  for (const ServedArchive* const archive : archives)
    mSource.Facts().MemoryOf(archive->path).Forget(archive_source::FileName(archive->path));
  RunInWorkers(options.jobs, archives.size(), calls);
  mProgress->Clear();
}
