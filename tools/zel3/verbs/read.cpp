#include "verbs/read.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "archive/entry_copy.h"
#include "client/doubt.h"
#include "client/entry_ranges.h"
#include "client/time_watch.h"
#include "client/timeline.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/output_file.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "text/json_text.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"
#include "verbs/read_follow.h"

namespace {

std::string ChosenOutput(const ReadOptions& options, const SourceFacts& source) {
  if (options.output.empty()) {
    if (isatty(STDOUT_FILENO) == 1) {
      throw Failure("archive bytes do not go to a terminal: use -o FILE, or -o - to insist",
                    kExitUsage);
    }
    return "-";
  }
  RefuseToHarm(source, options.output);
  return options.output;
}

class NoProgress : public Progress {
 public:
  void Show(const WorkState& /*state*/) override {}
  void Clear() override {}
};

// What has been read.
struct Summary {
  CopyCounts counts;
  std::uint64_t bytes = 0;
  std::vector<TimeLeap> gaps;
  std::vector<TimeLeap> backward;  // where the time goes back
  std::uint64_t misplaced = 0;  // entries with a time that is not between those of their neighbours
  bool stopped = false;         // at a gap

  bool IsWhole() const {
    return counts.lostBytes == 0 && counts.cutOffBytes == 0 && counts.undeclaredEntries == 0 &&
           !counts.hasNoHeader;
  }
};

class RangeCopy {
 public:
  RangeCopy(const BoundedRange& range, bool stopAtGap, Timeline* timeline, OutputFile* output,
            Progress* progress)
      : mRange(range),
        mStopAtGap(stopAtGap),
        mTimeline(*timeline),
        mOutput(*output),
        mProgress(*progress) {
    mWork.what = "reading";
  }

  Summary Copy() {
    const std::vector<ServedArchive>& archives = mTimeline.Archives();
    mWork.count = static_cast<std::size_t>(
        std::count_if(archives.begin(), archives.end(),
                      [this](const ServedArchive& archive) { return MayReach(archive); }));
    for (std::size_t number = 0; number < archives.size() && !mSummary.stopped; ++number) {
      if (!MayReach(archives[number])) continue;
      mWork.name = archive_source::FileName(archives[number].path);
      ++mWork.number;
      if (const OpenedArchive* const opened = mTimeline.Open(number)) CopyOf(number, *opened);
    }
    mProgress.Clear();
    return mSummary;
  }

 private:
  // The last entry of an archive that is not indexed yet may last until the range begins.
  static constexpr ArchiveTime kLongestStep = 3600 * kArchiveTimePerIndexTime;

  bool MayReach(const ServedArchive& archive) const {
    const ArchiveTime end = archive.end + std::max(archive.step, kLongestStep);
    return !archive.IsLeftOut() && archive.start < mRange.to && end >= mRange.from;
  }

  void CopyOf(std::size_t number, const OpenedArchive& opened) {
    EntryCopy copy(opened.File(), opened.Index(), &mSummary.counts,
                   [this](const unsigned char* bytes, std::size_t size) {
                     mOutput.Write(bytes, size);
                     mWork.done += size;
                     mProgress.Show(mWork);
                   });
    for (const EntryRange& range : EntriesWithin(opened, mRange.from, mRange.to)) {
      copy.Copy(range.first, UpToGap(number, opened, range));
      if (mSummary.stopped) break;
    }
  }

  // The end of the entries to be copied.
  std::size_t UpToGap(std::size_t number, const OpenedArchive& opened, const EntryRange& range) {
    for (std::size_t entry = range.first; entry < range.end; ++entry) {
      const ArchiveTime place = opened.Index().PlaceOf(entry);
      if (place != opened.Index().TimeOf(entry)) ++mSummary.misplaced;
      const std::optional<TimeLeap> leap = mWatch.Take(number, place, opened.Span().step);
      if (!leap) continue;
      if (leap->IsBackward()) {
        mSummary.backward.push_back(*leap);
        continue;
      }
      mSummary.gaps.push_back(*leap);
      if (!mStopAtGap) continue;
      mSummary.stopped = true;
      return entry;
    }
    return range.end;
  }

  const BoundedRange mRange;
  const bool mStopAtGap;
  Timeline& mTimeline;
  OutputFile& mOutput;
  Progress& mProgress;
  WorkState mWork;
  TimeWatch mWatch;
  Summary mSummary;
};

Json AsJson(const std::vector<TimeLeap>& gaps, TimeFormat times) {
  Json list = Json::array();
  for (const TimeLeap& gap : gaps)
    list.push_back({{"from", TimeJson(gap.from, times)}, {"to", TimeJson(gap.to, times)}});
  return list;
}

void TellAsJson(const Summary& summary, bool bytesOnOutput, TimeFormat times) {
  Json json;
  json["entries"] = summary.counts.entries;
  json["bytes"] = summary.bytes;
  json["damagedEntries"] = summary.counts.damagedEntries;
  json["damagedBytes"] = summary.counts.lostBytes;
  json["cutOffBytes"] = summary.counts.cutOffBytes;
  json["undeclaredEntries"] = summary.counts.undeclaredEntries;
  json["withoutHeader"] = summary.counts.hasNoHeader;
  json["stoppedAt"] = summary.stopped ? "gap" : "range";
  json["gaps"] = AsJson(summary.gaps, times);
  json["backward"] = AsJson(summary.backward, times);
  json["misplacedEntries"] = summary.misplaced;
  (bytesOnOutput ? std::cerr : std::cout) << JsonText(json) << '\n';
}

void TellAsText(const Summary& summary, TimeFormat times) {
  for (const TimeLeap& gap : summary.gaps) {
    std::cerr << "nothing was recorded from " << TimeText(gap.from, times) << " to "
              << TimeText(gap.to, times) << '\n';
  }
  for (const TimeLeap& leap : summary.backward) {
    std::cerr << "the time goes back from " << TimeText(leap.from, times) << " to "
              << TimeText(leap.to, times) << '\n';
  }
  const CopyCounts& counts = summary.counts;
  std::cerr << Counted(counts.entries, "entry", "entries") << ", " << summary.bytes << " bytes\n";
  if (summary.misplaced > 0) {
    PrintNotice(Counted(summary.misplaced, "entry", "entries") +
                " with a time that does not fit between its neighbours stayed in place");
  }
  if (counts.hasNoHeader) PrintNotice("there is no whole header; parsers need one");
  if (counts.lostBytes > 0) {
    PrintNotice(std::to_string(counts.lostBytes) + " bytes are damaged and were skipped");
  }
  if (counts.cutOffBytes > 0) {
    PrintNotice("the last record is not whole; " + std::to_string(counts.cutOffBytes) +
                " bytes were skipped");
  }
  if (counts.undeclaredEntries > 0) {
    PrintNotice(Counted(counts.undeclaredEntries, "entry", "entries") +
                " with data of a stream that no header declares");
  }
  if (summary.stopped) PrintNotice("stopped at the gap");
}

int Read(const ReadOptions& options, const BoundedRange& range, const std::string& target,
         ServedSource* source) {
  OutputFile output(target);
  ProgressBar progress;
  Timeline timeline(source, &progress);
  timeline.RequireOne();

  // When the bytes go to the terminal, progress has no place there.
  NoProgress noProgress;
  const bool isOccupied = OutputFile::IsStandardOutput(target) && isatty(STDOUT_FILENO) == 1;
  Progress* const shown = isOccupied ? static_cast<Progress*>(&noProgress) : &progress;
  Summary summary = RangeCopy(range, options.stopAtGap, &timeline, &output, shown).Copy();
  if (!summary.stopped) DoubtRecorded(range.from, range.to, &timeline);
  if (summary.counts.entries + summary.counts.damagedEntries == 0) {
    timeline.FailWithNothing(kNothingRecorded, SecondsHint({range.from, range.to}, timeline));
  }
  output.Finish();
  summary.bytes = output.BytesWritten();
  if (options.style.format == OutputFormat::kJson) {
    TellAsJson(summary, OutputFile::IsStandardOutput(target), options.style.Times());
  } else {
    TellAsText(summary, options.style.Times());
  }
  return timeline.IsWhole() && summary.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunRead(const HostOptions& host, const ReadOptions& options) {
  if (options.follow) return FollowBytes(options);
  const BoundedRange range = BoundedRangeOf(options.range);
  return AnswerForOne(options.sources, "read", [&](AskedSource* asked) {
    ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
    const std::string target = ChosenOutput(options, source.Facts());
    return RunOrPrintEmpty([&] { return Read(options, range, target, &source); },
                           [&] {
                             if (options.style.format != OutputFormat::kJson) return;
                             TellAsJson(Summary(), OutputFile::IsStandardOutput(target),
                                        options.style.Times());
                           });
  });
}
