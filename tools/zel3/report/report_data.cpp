#include "report_data.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "archive_source.h"
#include "indexed_source.h"
#include "stream_records.h"

namespace {

constexpr std::uint32_t kMostFineBins = 4000;
constexpr std::uint32_t kMostCoarseBins = 48;
// More make a page that browsers open slowly and that nobody reads.
constexpr std::size_t kMostEvents = 20000;

std::uint64_t RoundedDown(std::uint64_t time, std::uint64_t width) {
  return time / width * width;
}

// Bins of a width that people count in, which start at multiples of it. The widest ones cut all
// times that there are into a few.
ActivityBins RoundBins(const ReportRange& range, std::uint32_t most) {
  constexpr std::uint64_t kSecond = kArchiveTimePerIndexTime;
  constexpr std::uint64_t kMinute = 60 * kSecond;
  constexpr std::uint64_t kHour = 60 * kMinute;
  constexpr std::uint64_t kDay = 24 * kHour;
  constexpr std::uint64_t kWidths[] = {
      kSecond,     2 * kSecond, 5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,
      2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,
      3 * kHour,   6 * kHour,   12 * kHour,   kDay,         2 * kDay,     5 * kDay,     10 * kDay,
      30 * kDay,   100 * kDay,  1000 * kDay,  2000 * kDay,  10000 * kDay,
  };
  ActivityBins bins = {};
  for (const std::uint64_t width : kWidths) {
    const std::uint64_t from = RoundedDown(range.from, width);
    const std::uint64_t count = (range.to - from + width - 1) / width;
    bins = {from, from + count * width, width, static_cast<std::uint32_t>(count)};
    if (count <= most) break;
  }
  return bins;
}

bool HoldsEntries(const ReportFile& file) {
  return file.facts.entries > 0;
}

// Stretches of time, in order and apart.
class Stretches {
 public:
  // `last` is part of the stretch.
  void Add(std::uint64_t first, std::uint64_t last) { mUnsorted.push_back({first, last}); }

  void Sort() {
    std::sort(mUnsorted.begin(), mUnsorted.end());
    for (const auto& stretch : mUnsorted) {
      if (!mSorted.empty() && stretch.first <= mSorted.back().second) {
        mSorted.back().second = std::max(mSorted.back().second, stretch.second);
      } else {
        mSorted.push_back(stretch);
      }
    }
  }

  bool Meet(std::uint64_t from, std::uint64_t to) const {
    const auto behind = std::lower_bound(
        mSorted.begin(), mSorted.end(), from,
        [](const auto& stretch, std::uint64_t time) { return stretch.second < time; });
    return behind != mSorted.end() && behind->first < to;
  }

 private:
  std::vector<std::pair<std::uint64_t, std::uint64_t>> mUnsorted;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> mSorted;
};

// In which stretches a stream is: a file may leave one out that others have.
struct StreamPlaces {
  StreamPlaces(const std::vector<ReportFile>& files, std::uint8_t id) {
    for (std::size_t i = 0; i < files.size() && HoldsEntries(files[i]); ++i) {
      const ArchiveFacts& facts = files[i].facts;
      if (!facts.streams[id]) continue;
      if (files[i].indexed) {
        // What is recorded behind a file's last entry is still that file.
        const bool hasNext = i + 1 < files.size() && HoldsEntries(files[i + 1]);
        const std::uint64_t next = hasNext ? files[i + 1].facts.startTime : kEndOfTimes;
        indexed.Add(facts.startTime, std::max(facts.endTime + 1, next) - 1);
      } else {
        notIndexed.Add(facts.startTime, facts.endTime);
      }
    }
    indexed.Sort();
    notIndexed.Sort();
  }

  Stretches indexed;
  Stretches notIndexed;
};

class Collection {
 public:
  Collection(const HostOptions& host, const std::string& path)
      : mSource(host, path, MissingIndexes::kBuild), mDiagnosis(Examine(path, host.cacheFolder)) {
    mData.source = archive_source::Locate(path);
    mData.findings = mDiagnosis.findings;
  }

  ReportData Collect(const std::optional<ReportRange>& range) {
    AddFiles();
    mData.range = range ? range : WholeRange();
    if (mData.range) {
      AddGaps();
      AddStreams();
      AddEvents();
    }
    return std::move(mData);
  }

 private:
  static Diagnosis Examine(const std::string& path, const std::string& cacheFolder) {
    ProgressBar progress;
    return Diagnose(archive_source::Locate(path), cacheFolder, &progress);
  }

  void AddFiles() {
    // The reader's list has no names: files are known by their times.
    std::multiset<std::pair<std::uint64_t, std::uint64_t>> served;
    for (const ListedArchive& archive : mSource.Archives())
      served.insert({archive.startTime, archive.endTime});
    std::map<std::string, IndexedFile> indexes;
    for (const IndexedFile& index : mSource.Files()) indexes[index.name] = index;
    for (const ArchiveFacts& facts : mDiagnosis.archives) {
      const IndexedFile index = indexes[archive_source::FileName(facts.path)];
      const auto archive = served.find({index.startTime, index.endTime});
      const bool indexed = index.state != FileState::kFailed && archive != served.end();
      if (indexed) served.erase(archive);
      mData.files.push_back({facts, indexed});
    }
    std::stable_sort(mData.files.begin(), mData.files.end(),
                     [](const ReportFile& one, const ReportFile& other) {
                       if (HoldsEntries(one) != HoldsEntries(other)) return HoldsEntries(one);
                       return one.facts.startTime < other.facts.startTime;
                     });
  }

  std::optional<ReportRange> WholeRange() const {
    std::optional<ReportRange> range;
    for (const ReportFile& file : mData.files) {
      if (!HoldsEntries(file)) continue;
      if (!range) range = ReportRange{file.facts.startTime, file.facts.endTime};
      range->to = std::max(range->to, file.facts.endTime + kArchiveTimePerIndexTime);
    }
    return range;
  }

  void AddGaps() {
    for (const Finding& finding : mDiagnosis.findings) {
      if (finding.kind != "gap" || !finding.time || !finding.endTime) continue;
      if (*finding.time<mData.range->to&& * finding.endTime> mData.range->from)
        mData.gaps.push_back({{*finding.time, *finding.endTime}, finding.file});
    }
    std::sort(mData.gaps.begin(), mData.gaps.end(),
              [](const ReportGap& one, const ReportGap& other) {
                return one.range.from < other.range.from;
              });
  }

  void AddStreams() {
    const ActivityBins fine = RoundBins(*mData.range, kMostFineBins);
    const ActivityBins coarse = RoundBins(*mData.range, kMostCoarseBins);
    const std::vector<bool> recordedFine = RecordedBins(fine, &mSource);
    const std::vector<bool> recordedCoarse = RecordedBins(coarse, &mSource);
    for (const auto& named : StreamNames()) {
      const StreamPlaces places(mData.files, named.first);
      ReportStream stream;
      stream.id = named.first;
      stream.name = named.second;
      stream.fine = Activity(fine, stream.id, recordedFine, places);
      stream.coarse = Activity(coarse, stream.id, recordedCoarse, places);
      mData.streams.push_back(std::move(stream));
    }
  }

  // Of the streams that have data.
  std::map<std::uint8_t, std::string> StreamNames() const {
    std::map<std::uint8_t, std::string> names;
    for (const ReportFile& file : mData.files) {
      for (unsigned id = 0; HoldsEntries(file) && id < file.facts.streams.size(); ++id) {
        if (!file.facts.streams[id]) continue;
        const auto named = file.facts.streamNames.find(static_cast<std::uint8_t>(id));
        const bool hasName = named != file.facts.streamNames.end();
        names[static_cast<std::uint8_t>(id)] = hasName ? named->second : std::string();
      }
    }
    return names;
  }

  ReportActivity Activity(const ActivityBins& bins, std::uint8_t id,
                          const std::vector<bool>& recorded, const StreamPlaces& places) {
    ReportActivity activity;
    activity.bins = bins;
    activity.levels = ActivityLevels(bins, id, &mSource.Client());
    activity.states.resize(bins.count, BinState::kMissing);
    for (std::uint32_t i = 0; i < bins.count; ++i) {
      if (recorded[i] && places.indexed.Meet(bins.Start(i), bins.End(i))) {
        activity.states[i] = BinState::kRecorded;
      } else {
        activity.levels[i] = 0;
        if (places.notIndexed.Meet(bins.Start(i), bins.End(i)))
          activity.states[i] = BinState::kNotIndexed;
      }
    }
    return activity;
  }

  void AddEvents() {
    for (const RecordedEvent& event : mSource.Client().Events()) {
      if (event.time >= mData.range->from && event.time < mData.range->to)
        mData.events.push_back(event);
    }
    std::stable_sort(
        mData.events.begin(), mData.events.end(),
        [](const RecordedEvent& one, const RecordedEvent& other) { return one.time < other.time; });
    mData.eventCount = mData.events.size();
    if (mData.events.size() > kMostEvents) mData.events.resize(kMostEvents);
  }

  IndexedSource mSource;
  const Diagnosis mDiagnosis;
  ReportData mData;
};

}  // namespace

ReportData CollectReport(const HostOptions& host, const std::string& path,
                         const std::optional<ReportRange>& range) {
  return Collection(host, path).Collect(range);
}
