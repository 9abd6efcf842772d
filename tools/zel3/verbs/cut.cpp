#include "verbs/cut.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <set>

#include "client/doubt.h"
#include "client/entry_ranges.h"
#include "client/timeline.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_data.h"
#include "system/file_status.h"
#include "text/shown_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"
#include "verbs/excerpt.h"
#include "verbs/new_archives_output.h"

namespace {

// The entries of one archive that belong to the range.
struct PartOfArchive {
  std::size_t number;
  std::vector<EntryRange> ranges;
};

// Everything in the range.
struct CutPlan {
  std::vector<PartOfArchive> parts;
  std::uint64_t dataBytes = 0;  // without the holes of files
  std::uint64_t entries = 0;
  std::set<unsigned> streams;  // declared by the headers of the archives
};

class Planner {
 public:
  Planner(const BoundedRange& range, bool findsStreams, Timeline* timeline)
      : mRange(range), mFindsStreams(findsStreams), mTimeline(*timeline) {}

  CutPlan Plan() {
    const std::vector<ServedArchive>& archives = mTimeline.Archives();
    for (std::size_t number = 0; number < archives.size(); ++number) {
      const ServedArchive& archive = archives[number];
      const ArchiveTime end = archive.end + std::max(archive.step, kLongestStep);
      if (archive.IsLeftOut() || archive.start >= mRange.to || end < mRange.from) continue;
      if (const OpenedArchive* const opened = mTimeline.Open(number)) Add(number, *opened);
    }
    return mPlan;
  }

 private:
  // The last entry of an archive that is not indexed yet may last until the range begins.
  static constexpr ArchiveTime kLongestStep = 3600 * kArchiveTimePerIndexTime;

  void Add(std::size_t number, const OpenedArchive& opened) {
    const std::vector<EntryRange> ranges = EntriesWithin(opened, mRange.from, mRange.to);
    if (ranges.empty()) return;
    const KeptIndex& index = opened.Index();
    for (const EntryRange& range : ranges) {
      const FilePosition end =
          range.end < index.Count() ? index.PositionOf(range.end) : opened.File().Size();
      mPlan.dataBytes += DataBytes(opened.File().Handle(), index.PositionOf(range.first), end);
      mPlan.entries += range.end - range.first;
    }
    if (mFindsStreams) {
      for (const FilePosition position : index.Headers()) AddStreams(opened.File(), position);
    }
    mPlan.parts.push_back({number, ranges});
  }

  void AddStreams(const PlainFile& file, FilePosition position) {
    const auto header = HeaderAt(file, position);
    if (!header) return;
    for (const StreamDescriptor& stream : header->streams) mPlan.streams.insert(stream.id);
  }

  const BoundedRange mRange;
  const bool mFindsStreams;
  Timeline& mTimeline;
  CutPlan mPlan;
};

void RequireStreams(const std::vector<std::uint8_t>& wanted, const std::set<unsigned>& declared) {
  for (const unsigned stream : wanted) {
    if (declared.count(stream) > 0) continue;
    throw Failure(
        fmt::format("there is no stream {} in the range; there are {}", stream,
                    declared.empty() ? "none" : fmt::format("{}", fmt::join(declared, ", "))));
  }
}

WantedRecords WantedBy(const CutOptions& options, const BoundedRange& range) {
  WantedRecords wanted;
  wanted.from = range.from;
  wanted.to = range.to;
  for (unsigned type = 0; type < wanted.types.size(); ++type) {
    if (IsEventType(static_cast<std::uint8_t>(type))) {
      wanted.types[type] = !options.leavesOutEvents;
    } else if (!options.streams.empty()) {
      wanted.types[type] =
          std::find(options.streams.begin(), options.streams.end(), type) != options.streams.end();
    }
  }
  return wanted;
}

// What was written.
struct Summary {
  std::vector<NewArchive> archives;
  ExcerptCounts counts;
  CutPlan plan;
};

Json AsJson(const std::vector<TimeLeap>& leaps, TimeFormat times) {
  Json list = Json::array();
  for (const TimeLeap& leap : leaps)
    list.push_back({{"from", TimeJson(leap.from, times)}, {"to", TimeJson(leap.to, times)}});
  return list;
}

void TellAsJson(const Summary& summary, TimeFormat times) {
  std::uint64_t bytes = 0;
  for (const NewArchive& archive : summary.archives) bytes += archive.bytes;
  const ExcerptCounts& counts = summary.counts;
  Json json;
  json["files"] = AsJson(summary.archives, times);
  json["entries"] = counts.entries;
  json["bytes"] = bytes;
  json["damagedEntries"] = counts.damagedEntries;
  json["damagedBytes"] = counts.lostBytes;
  json["cutOffBytes"] = counts.cutOffBytes;
  json["undeclaredBytes"] = counts.undeclaredBytes;
  json["headerlessEntries"] = counts.headerlessEntries;
  json["leftOutBytes"] = counts.unwantedBytes + counts.entrylessBytes;
  json["gaps"] = AsJson(summary.counts.gaps, times);
  json["backward"] = AsJson(summary.counts.backward, times);
  json["misplacedEntries"] = summary.counts.misplaced;
  PrintJsonLine(json);
}

void TellAsText(const Summary& summary, TimeFormat times) {
  PrintTable(summary.archives, times);
  std::cout.flush();
  for (const TimeLeap& gap : summary.counts.gaps) {
    std::cerr << "nothing was recorded from " << TimeText(gap.from, times) << " to "
              << TimeText(gap.to, times) << '\n';
  }
  for (const TimeLeap& leap : summary.counts.backward) {
    std::cerr << "the time goes back from " << TimeText(leap.from, times) << " to "
              << TimeText(leap.to, times) << '\n';
  }
  const ExcerptCounts& counts = summary.counts;
  if (counts.unwantedBytes > 0)
    std::cerr << counts.unwantedBytes << " bytes were left out as requested\n";
  if (counts.entrylessBytes > 0) {
    PrintNotice(std::to_string(counts.entrylessBytes) +
                " bytes of data before the first entry, which belong to no entry, were left out");
  }
  if (summary.counts.misplaced > 0) {
    PrintNotice(Counted(summary.counts.misplaced, "entry", "entries") +
                " with a time that does not fit between its neighbours stayed in place");
  }
}

void TellLosses(const ExcerptCounts& counts) {
  if (counts.headerlessEntries > 0) {
    PrintNotice(Counted(counts.headerlessEntries, "entry", "entries") +
                " without a whole header before them were left out; zel3 mend may find one");
  }
  if (counts.lostBytes > 0) {
    PrintNotice(std::to_string(counts.lostBytes) + " bytes are damaged and were left out");
  }
  if (counts.cutOffBytes > 0) {
    PrintNotice("the last record is not whole; " + std::to_string(counts.cutOffBytes) +
                " bytes were left out");
  }
  if (counts.undeclaredBytes > 0) {
    PrintNotice(std::to_string(counts.undeclaredBytes) +
                " bytes of data of streams that no header declares were left out");
  }
}

// Shows how far the copying has come.
class CutProgress {
 public:
  explicit CutProgress(Progress* progress) : mProgress(*progress) { mState.what = "cutting"; }

  void Expect(const CutPlan& plan) {
    mState.all = plan.dataBytes;
    mState.count = plan.parts.size();
  }
  void BeginArchive(const std::string& path) {
    mState.name = archive_source::FileName(path);
    ++mState.number;
  }
  void Add(std::uint64_t bytes) {
    mState.done += bytes;
    mProgress.Show(mState);
  }

 private:
  Progress& mProgress;
  WorkState mState;
};

int Cut(const CutOptions& options, const BoundedRange& range, ServedSource* source) {
  ProgressBar progress;
  CutProgress shown(&progress);
  const auto onBytes = [&shown](std::uint64_t bytes) { shown.Add(bytes); };
  const auto refuse = [source](const std::string& path) {
    // A file that does not exist is not part of the source.
    if (StatusOf(path, Links::kNot)) RefuseToHarm(source->Facts(), path);
    RefuseToShareIndex(source->Facts(), path);
  };
  NewArchives archives({options.output, options.split.has_value(), options.mayReplace}, refuse);
  Timeline timeline(source, &progress);
  timeline.RequireOne();
  Summary summary;
  summary.plan = Planner(range, !options.streams.empty(), &timeline).Plan();
  DoubtRecorded(range.from, range.to, &timeline);
  if (summary.plan.entries == 0) {
    timeline.FailWithNothing(kNothingRecorded, SecondsHint({range.from, range.to}, timeline));
  }
  RequireStreams(options.streams, summary.plan.streams);

  shown.Expect(summary.plan);
  Excerpt excerpt(WantedBy(options, range), options.split, &archives, onBytes);
  for (const PartOfArchive& part : summary.plan.parts) {
    const OpenedArchive* const opened = timeline.Open(part.number);
    if (opened == nullptr) continue;
    shown.BeginArchive(timeline.Archives()[part.number].path);
    for (const EntryRange& entries : part.ranges) excerpt.Add(part.number, *opened, entries);
  }
  excerpt.Finish();
  progress.Clear();
  summary.counts = excerpt.Counts();
  if (archives.Ended().empty()) {
    TellLosses(summary.counts);
    throw Failure("nothing in the range can be put into an archive");
  }
  archives.TakeNames();
  summary.archives = archives.Ended();
  if (options.style.format == OutputFormat::kJson) {
    TellAsJson(summary, options.style.Times());
  } else {
    TellAsText(summary, options.style.Times());
  }
  TellLosses(summary.counts);
  const std::vector<std::string> others = archives.OtherParts();
  if (!others.empty()) {
    PrintNotice(Counted(others.size(), "other file") + " with the name of a part " +
                (others.size() > 1 ? "were left as they are: " : "was left as it is: ") +
                Escaped(others.front()) + (others.size() > 1 ? " and so on" : ""));
  }
  return timeline.IsWhole() && summary.counts.IsWhole() ? kExitDone : kExitDamaged;
}

}  // namespace

int RunCut(const HostOptions& host, const CutOptions& options) {
  const BoundedRange range = BoundedRangeOf(options.range);
  return AnswerForOne(options.sources, "cut", [&](AskedSource* asked) {
    ServedSource source(host, asked->Given(), MissingIndexes::kBuild, asked->Teller());
    return RunOrPrintEmpty([&] { return Cut(options, range, &source); },
                           [&] {
                             if (options.style.format != OutputFormat::kJson) return;
                             TellAsJson(Summary(), options.style.Times());
                           });
  });
}
