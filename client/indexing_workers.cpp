// Of ProvenIndexes: the indexes of many archives, built by several processes.

#include <algorithm>
#include <cstring>
#include <functional>
#include <type_traits>

#include "archive/damage_scan.h"
#include "client/proven_indexes.h"
#include "sources/archive_source.h"
#include "system/worker_processes.h"

namespace {

// What a worker tells begins with one of these.
constexpr char kNotice = 'n';
constexpr char kPercent = 'p';

// Shows how far a worker is where the user is.
class ToldProgress : public Progress {
 public:
  explicit ToldProgress(const WorkerCalls::Tell& tell) : mTell(tell) {}

  void Show(const std::string& /*what*/, unsigned percent) override {
    if (percent == mPercent) return;
    mPercent = percent;
    mTell(kPercent + std::to_string(percent));
  }
  void Clear() override {}

 private:
  const WorkerCalls::Tell& mTell;
  unsigned mPercent = 0;
};

// What has been found out about an archive, from one process to another of the same program.
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
  ProgressOfAll(std::size_t archives, Progress* progress)
      : mLabel("indexing " + std::to_string(archives) + " files"),
        mPercents(archives, 0),
        mProgress(*progress) {}

  void Show(std::size_t archive, unsigned percent) {
    // Less than before when an index is begun anew.
    mSum -= mPercents[archive];
    mPercents[archive] = std::min(percent, 100U);
    mSum += mPercents[archive];
    Show();
  }
  void Show() { mProgress.Show(mLabel, static_cast<unsigned>(mSum / mPercents.size())); }
  void Clear() { mProgress.Clear(); }

 private:
  const std::string mLabel;
  std::vector<unsigned> mPercents;
  std::uint64_t mSum = 0;
  Progress& mProgress;
};

}  // namespace

void ProvenIndexes::BuildInWorkers(const std::vector<ServedArchive*>& archives,
                                   const IndexingOptions& options) {
  ProgressOfAll progress(archives.size(), mProgress);
  const auto tellUser = [this, &progress](const std::function<void()>& tell) {
    progress.Clear();
    tell();
    progress.Show();
  };
  WorkerCalls calls;
  calls.work = [&](std::size_t piece, const WorkerCalls::Tell& tell) {
    mSource.TellBy([tell](const std::string& notice) { tell(kNotice + notice); });
    ToldProgress told(tell);
    mProgress = &told;
    BuildOneOfAll(archives[piece], options);
    return AsMessage(*archives[piece]);
  };
  calls.endWorker = [this] { mSource.RemovePassingPlace(); };
  calls.onTold = [&](std::size_t piece, const std::string& message) {
    const std::string text = message.substr(1);
    if (message.front() == kNotice) {
      tellUser([&] { mSource.Tell(text); });
    } else {
      progress.Show(piece, static_cast<unsigned>(std::stoul(text)));
    }
  };
  calls.onDone = [&](std::size_t piece, const std::string& result) {
    ServedArchive& archive = *archives[piece];
    TakeMessage(result, &archive);
    mBuiltAnIndex = mBuiltAnIndex || archive.state == ServedArchive::State::kIndexed;
    progress.Show(piece, 100);
  };
  calls.onFailed = [&](std::size_t piece, const std::string& why) {
    tellUser([&] { LeaveOut("cannot be indexed: " + why, archives[piece]); });
    progress.Show(piece, 100);
  };
  // Workers forget for themselves only.
  for (const ServedArchive* const archive : archives)
    mSource.Facts().MemoryOf(archive->path).Forget(archive_source::FileName(archive->path));
  RunInWorkers(options.jobs, archives.size(), calls);
  progress.Clear();
}
