#include "page/report_data.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "archive/recorded_events.h"
#include "client/missing_time.h"
#include "client/recorded_gap.h"
#include "client/timeline.h"
#include "page/round_bins.h"
#include "page/shortened.h"
#include "times/time_reference.h"

namespace {

// A page holds one character for each bin and stream, so with few streams finer bins fit.
constexpr std::uint32_t kMostLevels = 600000;
constexpr std::uint32_t kMostFineBins = 150000;
constexpr std::uint32_t kFewestFineBins = 4000;
constexpr std::uint32_t kMostCoarseBins = 48;
constexpr std::uint32_t kMostEventBins = 2000;
// With more, browsers open the page slowly, and nobody reads it.
constexpr std::size_t kMostEvents = 5000;
constexpr std::size_t kMostFindings = 5000;
constexpr std::size_t kMostGaps = 5000;
constexpr std::size_t kMostTextBytes = 200;
constexpr ArchiveTime kLongestWithoutDays = 2 * 24 * 3600 * ArchiveTime{1000};

class Collection {
 public:
  Collection(ServedSource* source, Progress* progress)
      : mSource(*source),
        mProgress(*progress),
        mTimeline(source, progress),
        mDiagnosis(Diagnose(source->Facts(), progress)) {
    mTimeline.IndexAll();
    mData.source = source->Path();
  }

  ReportData Collect(const std::optional<ArchiveTime>& from, const std::optional<ArchiveTime>& to) {
    mData.recorded = RecordedRange();
    mData.range = RangeWithin(from, to);
    AddFiles();
    AddFindings();
    if (mData.range) {
      AddGaps(from, to);
      AddDays(from, to);
      AddStreams();
      AddEvents();
    }
    return std::move(mData);
  }

 private:
  std::optional<ReportRange> RecordedRange() const {
    std::optional<ReportRange> range;
    for (const ArchiveFacts& facts : mDiagnosis.archives) {
      if (facts.entries == 0) continue;
      if (!range) range = ReportRange{facts.startTime, 0};
      range->from = std::min(range->from, facts.startTime);
      range->to = std::max(range->to, facts.endTime + kArchiveTimePerIndexTime);
    }
    return range;
  }

  // Where nothing is recorded on the open side of a given end, the range holds only that end.
  std::optional<ReportRange> RangeWithin(const std::optional<ArchiveTime>& from,
                                         const std::optional<ArchiveTime>& to) const {
    if (from && to) return ReportRange{*from, *to};
    if (!mData.recorded) return std::nullopt;
    ReportRange range = *mData.recorded;
    if (from) range = {*from, std::max(range.to, *from + 1)};
    if (to) range = {std::min(range.from, *to - 1), *to};
    return range;
  }

  bool IsInRange(ArchiveTime first, ArchiveTime last) const {
    return !mData.range || mData.range->Meets(first, last);
  }

  void AddFiles() {
    std::set<std::string> indexed;
    for (const ServedArchive& archive : mTimeline.Archives()) {
      if (archive.HasIndex()) indexed.insert(archive.path);
    }
    for (const ArchiveFacts& facts : mDiagnosis.archives) {
      if (facts.entries == 0 || IsInRange(facts.startTime, facts.endTime))
        mData.files.push_back({facts, indexed.count(facts.path) > 0});
    }
    std::stable_sort(mData.files.begin(), mData.files.end(),
                     [](const ReportFile& one, const ReportFile& other) {
                       if (one.HoldsEntries() != other.HoldsEntries()) return one.HoldsEntries();
                       return one.facts.startTime < other.facts.startTime;
                     });
  }

  void AddFindings() {
    for (Finding finding : mDiagnosis.findings) {
      if (finding.time) {
        ArchiveTime first = *finding.time;
        ArchiveTime last = finding.endTime.value_or(first);
        if (last < first) {
          std::swap(first, last);
          finding.time = first;
          finding.endTime = last;
        }
        if (!IsInRange(first, last)) continue;
      }
      mData.severities.Add(SeverityOf(finding.kind), finding.Count());
      KindOfFindings& kind = mData.kinds[finding.kind];
      kind.count += finding.Count();
      kind.files.insert(finding.file);
      CountOther(finding);
      mData.findings.items.push_back(finding);
    }
    std::stable_sort(mData.findings.items.begin(), mData.findings.items.end(),
                     [](const Finding& one, const Finding& other) {
                       return SeverityOf(one.kind) > SeverityOf(other.kind);
                     });
    mData.findings.CutTo(kMostFindings);
    mHasMisplaced = mData.kinds.count(FindingKind::kMisplaced) > 0;
    mData.damage.damaged = FilesWith(FindingKind::kDamage);
    mData.damage.unreadable = FilesWith(FindingKind::kUnreadable);
    mData.damage.cutOff = FilesWith(FindingKind::kCutOff);
    for (const ReportFile& file : mData.files) mData.damage.empty += file.HoldsEntries() ? 0 : 1;
  }

  std::uint64_t FilesWith(FindingKind kind) const {
    const auto found = mData.kinds.find(kind);
    return found == mData.kinds.end() ? 0 : found->second.files.size();
  }

  // Findings that neither cost data nor keep a file from being indexed.
  void CountOther(const Finding& finding) {
    switch (finding.kind) {
      case FindingKind::kDamage:
      case FindingKind::kUnreadable:
      case FindingKind::kCutOff:
      case FindingKind::kTooSmall:
      case FindingKind::kNoIndex:
      case FindingKind::kNoParser:
        return;
      default:
        break;
    }
    const Severity severity = SeverityOf(finding.kind);
    if (severity == Severity::kError) mData.damage.otherErrors += finding.Count();
    if (severity == Severity::kWarning) mData.damage.otherWarnings += finding.Count();
  }

  void AddGaps(const std::optional<ArchiveTime>& from, const std::optional<ArchiveTime>& to) {
    const std::optional<MissingTime> missing = FindMissingTime(from, to, &mTimeline);
    if (!missing) return;
    mData.share = RecordedShare{missing->recorded, missing->to - missing->from, true};
    for (const MissingStretch& gap : missing->gaps) {
      const ReportGap whole{{gap.from, gap.to}, NameOf(gap.before), NameOf(gap.after)};
      for (ReportGap& part : WithoutNotIndexed(whole)) mData.gaps.items.push_back(std::move(part));
    }
    mData.share->isWhole = mTimeline.IsWhole() && !mHasMisplaced;
    mData.gaps.CutTo(kMostGaps);
  }

  void AddDays(const std::optional<ArchiveTime>& from, const std::optional<ArchiveTime>& to) {
    if (mData.range->to - mData.range->from <= kLongestWithoutDays) return;
    mData.days = FindRecordedHours(from, to, TimeReferenceInForce().zone, mSource, &mTimeline);
  }

  std::optional<std::string> NameOf(const std::optional<std::size_t>& archive) const {
    if (!archive) return std::nullopt;
    return mSource.Facts().NameOf(mTimeline.Archives()[*archive].path);
  }

  // The parts of a gap that are outside the files without an index, which are not missing.
  std::vector<ReportGap> WithoutNotIndexed(ReportGap gap) const {
    std::vector<ReportGap> parts;
    for (const ReportFile& file : mData.files) {
      if (!file.HoldsEntries()) break;
      const ReportRange held = {file.facts.startTime,
                                file.facts.endTime + LastingOf(file.facts.step)};
      if (file.indexed || held.to <= gap.range.from || held.from >= gap.range.to) continue;
      if (held.from > gap.range.from)
        parts.push_back({{gap.range.from, held.from}, gap.file, file.facts.name});
      gap.range.from = std::min(held.to, gap.range.to);
      gap.file = file.facts.name;
    }
    if (gap.range.from < gap.range.to) parts.push_back(gap);
    return parts;
  }

  void AddStreams() {
    std::vector<std::uint8_t> ids;
    for (const auto& named : StreamNames()) {
      ReportStream stream;
      stream.id = named.first;
      stream.name = named.second;
      ids.push_back(stream.id);
      mData.streams.push_back(std::move(stream));
    }
    const auto streams = static_cast<std::uint32_t>(std::max<std::size_t>(ids.size(), 1));
    const std::uint32_t mostBins =
        std::max(std::min(kMostLevels / streams, kMostFineBins), kFewestFineBins);
    const ReportRange& range = *mData.range;
    mData.fineBins = RoundBins(range.from, range.to, mostBins, RoundWidthUpTo(ShortestStep()));
    mData.coarseBins = RoundBins(range.from, range.to, kMostCoarseBins);
    AddActivity(ids);
  }

  // Bins finer than the distance between entries say nothing more.
  ArchiveTime ShortestStep() const {
    ArchiveTime shortest = 0;
    for (const ReportFile& file : mData.files) {
      const ArchiveTime step = file.HoldsEntries() ? file.facts.step : 0;
      if (step > 0 && (shortest == 0 || step < shortest)) shortest = step;
    }
    return shortest;
  }

  // For the streams that have data.
  std::map<std::uint8_t, std::string> StreamNames() const {
    std::map<std::uint8_t, std::string> names;
    for (const ReportFile& file : mData.files) {
      for (unsigned id = 0; file.HoldsEntries() && id < file.facts.streams.size(); ++id) {
        if (!file.facts.streams[id]) continue;
        const auto named = file.facts.streamNames.find(static_cast<std::uint8_t>(id));
        const bool hasName = named != file.facts.streamNames.end();
        names[static_cast<std::uint8_t>(id)] = hasName ? named->second : std::string();
      }
    }
    return names;
  }

  void AddActivity(const std::vector<std::uint8_t>& ids) {
    ActivityMeasure fine(ids, mData.fineBins, &mTimeline);
    ActivityMeasure coarse(ids, mData.coarseBins, &mTimeline);
    // Asks for both while an archive is open.
    for (std::size_t number = 0; number < mTimeline.Archives().size(); ++number) {
      fine.Add(number);
      coarse.Add(number);
    }
    KeepActivity(fine, mData.fineBins, &ReportStream::fine);
    KeepActivity(coarse, mData.coarseBins, &ReportStream::coarse);
  }

  void KeepActivity(const ActivityMeasure& measure, const ActivityBins& bins,
                    ReportActivity ReportStream::*member) {
    const std::vector<std::vector<BinLevels>> levels = measure.Levels();
    const std::vector<unsigned> thousandths = measure.RecordedThousandths();
    for (std::size_t row = 0; row < mData.streams.size(); ++row) {
      const StreamPlaces places(mData.files, mData.streams[row].id);
      ReportActivity& activity = mData.streams[row].*member;
      for (std::uint32_t i = 0; i < bins.count; ++i) {
        const BinState state = places.StateOf(bins.Start(i), bins.End(i), thousandths[i] > 0);
        const unsigned level = state == BinState::kRecorded ? levels[row][i].highest : 0;
        activity.levels.push_back(static_cast<std::uint8_t>(level));
        activity.states.push_back(state);
      }
    }
  }

  void AddEvents() {
    mData.laterEventWidth = RoundBins(mData.range->from, mData.range->to, kMostEventBins).width;
    const auto onEvent = [this](const RecordedEvent& event) {
      if (IsInRange(event.time, event.time)) AddEvent(event);
    };
    WorkState state;
    state.what = "collecting events of";
    state.unit = WorkState::Unit::kFiles;
    state.all = state.count = mData.files.size();
    for (const ReportFile& file : mData.files) {
      const std::string& path = file.facts.path;
      state.name = file.facts.name;
      state.done = state.number++;
      mProgress.Show(state);
      if (!file.HoldsEntries()) continue;
      if (file.indexed) {
        ForEachEvent(path, mSource.Facts().CacheOf(path), onEvent);
      } else {
        ForEachFoundEvent(path, onEvent);
      }
    }
    mProgress.Clear();
    KeepFirstEvents();
  }

  void AddEvent(const RecordedEvent& event) {
    std::vector<RecordedEvent>& events = mData.events.items;
    events.push_back({event.time, event.type, Shortened(event.text, kMostTextBytes)});
    ++mData.events.count;
    if (events.size() == 2 * kMostEvents) KeepFirstEvents();
  }

  // The first ones by time; among equal times, those that came first.
  void KeepFirstEvents() {
    std::vector<RecordedEvent>& events = mData.events.items;
    std::stable_sort(
        events.begin(), events.end(),
        [](const RecordedEvent& one, const RecordedEvent& other) { return one.time < other.time; });
    for (std::size_t i = kMostEvents; i < events.size(); ++i)
      ++mData.laterEvents[{events[i].type, events[i].time / mData.laterEventWidth}];
    if (events.size() > kMostEvents) events.resize(kMostEvents);
  }

  ServedSource& mSource;
  Progress& mProgress;
  Timeline mTimeline;
  const Diagnosis mDiagnosis;
  ReportData mData;
  bool mHasMisplaced = false;  // entries whose time is not known
};

}  // namespace

std::uint64_t CountNotIndexed(const ReportData& report) {
  return static_cast<std::uint64_t>(
      std::count_if(report.files.begin(), report.files.end(),
                    [](const ReportFile& file) { return !file.indexed; }));
}

ReportData CollectReport(ServedSource* source, const std::optional<ArchiveTime>& from,
                         const std::optional<ArchiveTime>& to, Progress* progress) {
  return Collection(source, progress).Collect(from, to);
}
