#include "page/report_data.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "archive/recorded_events.h"
#include "client/timeline.h"

namespace {

constexpr std::uint32_t kMostFineBins = 4000;
constexpr std::uint32_t kMostCoarseBins = 48;
// More make a page that browsers open slowly and that nobody reads.
constexpr std::size_t kMostEvents = 20000;
constexpr std::size_t kMostFindings = 5000;
constexpr std::size_t kMostGaps = 5000;
constexpr std::size_t kMostTextBytes = 200;

// Bins of a width that people count in, which start at multiples of it. The widest ones cut all
// times that there are into a few.
ActivityBins RoundBins(const ReportRange& range, std::uint32_t mostBins) {
  constexpr ArchiveTime kSecond = kArchiveTimePerIndexTime;
  constexpr ArchiveTime kMinute = 60 * kSecond;
  constexpr ArchiveTime kHour = 60 * kMinute;
  constexpr ArchiveTime kDay = 24 * kHour;
  constexpr ArchiveTime kWidths[] = {
      kSecond,     2 * kSecond, 5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,
      2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,
      3 * kHour,   6 * kHour,   12 * kHour,   kDay,         2 * kDay,     5 * kDay,     10 * kDay,
      30 * kDay,   100 * kDay,  1000 * kDay,  2000 * kDay,  10000 * kDay,
  };
  ActivityBins bins = {};
  for (const ArchiveTime width : kWidths) {
    const ArchiveTime from = range.from / width * width;
    const std::uint64_t count = (range.to - from + width - 1) / width;
    bins = {from, from + count * width, width, static_cast<std::uint32_t>(count)};
    if (count <= mostBins) break;
  }
  return bins;
}

// Cut between characters.
std::string Shortened(const std::string& text) {
  if (text.size() <= kMostTextBytes) return text;
  std::size_t size = kMostTextBytes;
  const auto isWithinCharacter = [&text](std::size_t place) {
    return (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80;
  };
  while (size > 0 && isWithinCharacter(size)) --size;
  return text.substr(0, size) + "…";
}

class Collection {
 public:
  Collection(ServedSource* source, Progress* progress)
      : mSource(*source),
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
      mData.fineBins = RoundBins(*mData.range, kMostFineBins);
      mData.coarseBins = RoundBins(*mData.range, kMostCoarseBins);
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

  // Where nothing is recorded on the open side of an end, the range has no more than that end.
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
    std::uint64_t moreGaps = 0;
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
        if (finding.kind == FindingKind::kGap)
          mData.gaps.items.push_back({{first, last}, finding.file});
      }
      if (finding.kind == FindingKind::kGap) moreGaps += finding.more;
      mData.severities.Add(SeverityOf(finding.kind), finding.Count());
      mData.findings.items.push_back(finding);
    }
    std::sort(mData.gaps.items.begin(), mData.gaps.items.end(),
              [](const ReportGap& one, const ReportGap& other) {
                return one.range.from < other.range.from;
              });
    mData.gaps.CutTo(kMostGaps);
    mData.gaps.count += moreGaps;
    mData.findings.CutTo(kMostFindings);
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
    AddActivity(ids, mData.fineBins, &ReportStream::fine);
    AddActivity(ids, mData.coarseBins, &ReportStream::coarse);
  }

  // Of the streams that have data.
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

  void AddActivity(const std::vector<std::uint8_t>& ids, const ActivityBins& bins,
                   ReportActivity ReportStream::*member) {
    ActivityMeasure measure(ids, bins, &mTimeline);
    measure.AddAll();
    const std::vector<std::vector<BinLevels>> levels = measure.Levels();
    const std::vector<unsigned> thousandths = measure.RecordedThousandths();
    for (std::size_t row = 0; row < ids.size(); ++row) {
      const StreamPlaces places(mData.files, ids[row]);
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
    const auto onEvent = [this](const RecordedEvent& event) {
      if (IsInRange(event.time, event.time)) AddEvent(event);
    };
    for (const ReportFile& file : mData.files) {
      const std::string& path = file.facts.path;
      if (!file.HoldsEntries()) continue;
      if (file.indexed) {
        ForEachEvent(path, mSource.Facts().CacheOf(path), onEvent);
      } else {
        ForEachFoundEvent(path, onEvent);
      }
    }
    KeepFirstEvents();
    mData.laterEventBins.assign(mLaterEventBins.begin(), mLaterEventBins.end());
  }

  void AddEvent(const RecordedEvent& event) {
    std::vector<RecordedEvent>& events = mData.events.items;
    events.push_back({event.time, event.type, Shortened(event.text)});
    ++mData.events.count;
    if (events.size() == 2 * kMostEvents) KeepFirstEvents();
  }

  // The first ones by time; of those of one time the ones that came first.
  void KeepFirstEvents() {
    std::vector<RecordedEvent>& events = mData.events.items;
    std::stable_sort(
        events.begin(), events.end(),
        [](const RecordedEvent& one, const RecordedEvent& other) { return one.time < other.time; });
    const ArchiveTime width = mData.fineBins.width;
    for (std::size_t i = kMostEvents; i < events.size(); ++i)
      mLaterEventBins.insert(events[i].time / width * width);
    if (events.size() > kMostEvents) events.resize(kMostEvents);
  }

  ServedSource& mSource;
  Timeline mTimeline;
  const Diagnosis mDiagnosis;
  ReportData mData;
  std::set<ArchiveTime> mLaterEventBins;  // of events that are not kept
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
