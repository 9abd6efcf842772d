#include "client/recorded_hours.h"

#include <algorithm>
#include <map>
#include <utility>

#include "archive/recorded_events.h"
#include "client/activity_bins.h"
#include "client/recorded_time.h"
#include "text/shown_text.h"
#include "times/local_hours.h"

namespace {

constexpr ArchiveTime kDayLength = ArchiveTime{24} * 3600 * 1000;
// Only so much time in doubt makes days by itself: a wrong clock can put many years between two
// entries.
constexpr ArchiveTime kLongestListed = 31 * kDayLength;

using Stretches = std::vector<RecordedStretch>;

// Numbers of events by day, as Julian day, and hour.
using EventCounts = std::map<std::pair<std::int64_t, unsigned>, std::uint64_t>;

std::int64_t InstantOf(ArchiveTime time) {
  return static_cast<std::int64_t>(std::min(time, kEndOfTimes));
}

// A doubt before all entries of an archive, or after all of them, reaches to the nearest other
// recording, but no further than kReachOfDoubt.
DoubtedTime Bounded(DoubtedTime doubt, const Stretches& stretches) {
  const bool isBefore = doubt.from == 0;
  if (!isBefore && doubt.to != kNoEndOfDoubt) return doubt;
  // Where the nearest entry begins, or where its last unit of index time does.
  const ArchiveTime entry = isBefore ? doubt.to - kArchiveTimePerIndexTime : doubt.from;
  const auto holds =
      std::find_if(stretches.begin(), stretches.end(),
                   [entry](const RecordedStretch& stretch) { return stretch.to > entry; });
  const bool isHeld = holds != stretches.end() && holds->from <= entry;
  if (isBefore) {
    const ArchiveTime earliest = entry > kReachOfDoubt ? entry - kReachOfDoubt : 0;
    const ArchiveTime end = holds == stretches.begin() ? 0 : std::prev(holds)->to;
    doubt.from = isHeld && holds->from < entry ? entry : std::max(earliest, end);
  } else {
    const ArchiveTime end = entry + kArchiveTimePerIndexTime;
    const auto next = isHeld ? holds + 1 : holds;
    doubt.to =
        next == stretches.end() ? end + kReachOfDoubt : std::min(next->from, end + kReachOfDoubt);
    if (isHeld && holds->to > end) doubt.to = end;
  }
  return doubt;
}

std::vector<DoubtedTime> Joined(std::vector<DoubtedTime> doubts) {
  std::sort(doubts.begin(), doubts.end(),
            [](const DoubtedTime& one, const DoubtedTime& other) { return one.from < other.from; });
  std::vector<DoubtedTime> joined;
  for (const DoubtedTime& doubt : doubts) {
    if (joined.empty() || doubt.from > joined.back().to) {
      joined.push_back(doubt);
    } else {
      joined.back().to = std::max(joined.back().to, doubt.to);
    }
  }
  return joined;
}

// Counts the events of one archive.
class EventCounter {
 public:
  EventCounter(const ServedArchive& archive, ArchiveTime from, ArchiveTime to,
               const LocalHours& localHours)
      : mArchive(archive), mFrom(from), mTo(to), mLocalHours(localHours) {}

  void Count(ArchiveTime time) {
    if (time < mArchive.start || time > mArchive.end) {
      ++mTimeless;
    } else if (time >= mFrom && time < mTo) {
      const std::int64_t instant = InstantOf(time);
      if (instant < mHour.from || instant >= mHour.to) FindHour(instant);
      ++mCounts[{mHour.julianDay, mHour.hour}];
    }
  }

  // Forgets what has been counted.
  void Restart() {
    mCounts.clear();
    mTimeless = 0;
  }

  const EventCounts& Counts() const { return mCounts; }
  // How many have a time before or after all of the archive.
  std::uint64_t Timeless() const { return mTimeless; }

 private:
  void FindHour(std::int64_t instant) {
    constexpr std::int64_t kLongest = 2 * 3600 * 1000;
    mLocalHours.ForEach(instant, instant + kLongest, [this](const LocalHours::Piece& piece) {
      mHour = piece;
      return false;
    });
  }

  const ServedArchive& mArchive;
  const ArchiveTime mFrom;
  const ArchiveTime mTo;
  const LocalHours& mLocalHours;
  LocalHours::Piece mHour;  // of the event before
  EventCounts mCounts;
  std::uint64_t mTimeless = 0;
};

// The days, made as they are needed.
class Days {
 public:
  explicit Days(const LocalHours& localHours) : mLocalHours(localHours) {}

  void AddRecorded(ArchiveTime from, ArchiveTime to) {
    mLocalHours.ForEach(InstantOf(from), InstantOf(to), [this](const LocalHours::Piece& piece) {
      At(piece).recorded += static_cast<ArchiveTime>(piece.to - piece.from);
      return true;
    });
  }

  void AddEvents(const EventCounts& counts) {
    for (const auto& [hour, count] : counts) mDays[hour.first].hours[hour.second].events += count;
  }

  // What is in doubt is marked in all days that exist, so it comes after everything else.
  void AddDoubt(const DoubtedTime& doubt) {
    const ArchiveTime listed = std::min(doubt.to, doubt.from + kLongestListed);
    Mark(doubt.from, listed);
    if (listed == doubt.to) return;
    Mark(doubt.to - 1, doubt.to);
    MarkListed(listed, doubt.to);
  }

  std::vector<RecordedDay> Finish(ArchiveTime from, ArchiveTime to) {
    std::vector<RecordedDay> days;
    for (auto& [julianDay, day] : mDays) {
      const auto addLength = [&, hours = &day.hours](const LocalHours::Piece& piece) {
        const std::int64_t begin = std::max(piece.from, InstantOf(from));
        const std::int64_t end = std::min(piece.to, InstantOf(to));
        if (begin < end) (*hours)[piece.hour].length += static_cast<ArchiveTime>(end - begin);
        return true;
      };
      mLocalHours.ForEachOfDay(julianDay, addLength);
      day.date = QDate::fromJulianDay(julianDay);
      days.push_back(day);
    }
    return days;
  }

 private:
  RecordedHour& At(const LocalHours::Piece& piece) {
    if (mLast == nullptr || mLastDay != piece.julianDay) {
      mLast = &mDays[piece.julianDay];
      mLastDay = piece.julianDay;
    }
    return mLast->hours[piece.hour];
  }

  void Mark(ArchiveTime from, ArchiveTime to) {
    mLocalHours.ForEach(InstantOf(from), InstantOf(to), [this](const LocalHours::Piece& piece) {
      At(piece).isInDoubt = true;
      return true;
    });
  }

  void MarkListed(ArchiveTime from, ArchiveTime to) {
    std::int64_t firstDay = 0;
    mLocalHours.ForEach(InstantOf(from), InstantOf(to),
                        [&firstDay](const LocalHours::Piece& piece) {
                          firstDay = piece.julianDay;
                          return false;
                        });
    for (auto day = mDays.lower_bound(firstDay); day != mDays.end(); ++day) {
      bool isOver = false;
      mLocalHours.ForEachOfDay(day->first, [&](const LocalHours::Piece& piece) {
        isOver = piece.from >= InstantOf(to);
        if (!isOver && piece.to > InstantOf(from)) day->second.hours[piece.hour].isInDoubt = true;
        return !isOver;
      });
      if (isOver) break;
    }
  }

  const LocalHours& mLocalHours;
  std::map<std::int64_t, RecordedDay> mDays;
  RecordedDay* mLast = nullptr;
  std::int64_t mLastDay = 0;
};

// Asks the archives of a timeline, one after the other.
class HoursOfArchives {
 public:
  HoursOfArchives(ArchiveTime from, ArchiveTime to, const LocalHours& localHours,
                  const ServedSource& source, Timeline* timeline)
      : mFrom(from),
        mTo(to),
        mLocalHours(localHours),
        mSource(source),
        mTimeline(*timeline),
        mRecorded(from, to, timeline) {}

  void AddAll() {
    // While an archive is open, everything is asked that needs its index.
    mTimeline.ForEach("going through", [this](std::size_t number) {
      mRecorded.Add(number);
      const std::vector<DoubtedTime> doubted = FindDoubted(number, mFrom, mTo, &mTimeline);
      mDoubts.insert(mDoubts.end(), doubted.begin(), doubted.end());
      DoubtWrongTimes(number);
      DoubtUnknown(number);
      CountEvents(number);
    });
  }

  const RecordedTime& Recorded() const { return mRecorded; }
  const std::vector<DoubtedTime>& Doubts() const { return mDoubts; }
  const EventCounts& Events() const { return mEvents; }

 private:
  bool Meets(const ServedArchive& archive) const {
    return archive.start < mTo && archive.end >= mFrom;
  }

  // Such entries have a place in the file; when they were recorded is not known.
  void DoubtWrongTimes(std::size_t number) {
    const ServedArchive& archive = mTimeline.Archives()[number];
    if (archive.IsLeftOut() || archive.misplaced == 0 || !Meets(archive)) return;
    const OpenedArchive* const opened = mTimeline.Open(number);
    if (opened == nullptr) return;
    std::uint64_t count = 0;
    const KeptIndex& index = opened->Index();
    for (std::size_t entry = 0; entry < index.Count(); ++entry) {
      const ArchiveTime place = index.PlaceOf(entry);
      if (place == index.TimeOf(entry) || place < mFrom || place >= mTo) continue;
      ++count;
      mDoubts.push_back({place, place + kArchiveTimePerIndexTime});
    }
    if (count == 0) return;
    mTimeline.Doubt(number, "has " + Counted(count, "entry", "entries") +
                                " with a wrong time; when " +
                                (count == 1 ? "it was" : "they were") + " recorded is not known");
  }

  // In doubt are the time of an archive that is not served, and that after an index that ends
  // early.
  void DoubtUnknown(std::size_t number) {
    const ServedArchive& archive = mTimeline.Archives()[number];
    const bool areEndsKnown =
        archive.start > 0 && archive.end < kEndOfTimes - kArchiveTimePerIndexTime;
    if (archive.IsLeftOut() && areEndsKnown && archive.start <= archive.end)
      mDoubts.push_back({archive.start, archive.end + kArchiveTimePerIndexTime});
    if (!archive.IsLeftOut() && archive.endsEarly) mDoubts.push_back({archive.end, kNoEndOfDoubt});
  }

  void CountEvents(std::size_t number) {
    const ServedArchive& archive = mTimeline.Archives()[number];
    if (archive.IsLeftOut() || !Meets(archive)) return;
    EventCounter counter(archive, mFrom, mTo, mLocalHours);
    const auto count = [&counter](const RecordedEvent& event) { counter.Count(event.time); };
    if (!ForEachKeptEvent(mSource.Facts().CacheOf(archive.path), count)) {
      counter.Restart();
      const std::uint64_t damaged = ForEachFoundEvent(archive.path, count);
      if (damaged > 0) {
        mTimeline.Doubt(number, "has " + std::to_string(damaged) +
                                    " bytes that are damaged or cannot be read, and events in "
                                    "them are not known");
        mDoubts.push_back({archive.start, archive.end + kArchiveTimePerIndexTime});
      }
    }
    for (const auto& [hour, events] : counter.Counts()) mEvents[hour] += events;
    if (counter.Timeless() == 0) return;
    mTimeline.Doubt(number, "has " + Counted(counter.Timeless(), "event") +
                                " without a time between its entries; no day counts " +
                                (counter.Timeless() == 1 ? "it" : "them"));
  }

  const ArchiveTime mFrom;
  const ArchiveTime mTo;
  const LocalHours& mLocalHours;
  const ServedSource& mSource;
  Timeline& mTimeline;
  RecordedTime mRecorded;
  std::vector<DoubtedTime> mDoubts;
  EventCounts mEvents;
};

}  // namespace

unsigned RecordedHour::Thousandths() const {
  if (recorded == 0 || length == 0) return 0;
  return std::max(1U, static_cast<unsigned>(recorded * 1000 / length));
}

RecordedHour RecordedDay::Sum() const {
  RecordedHour sum;
  for (const RecordedHour& hour : hours) {
    sum.length += hour.length;
    sum.recorded += hour.recorded;
    sum.events += hour.events;
    sum.isInDoubt = sum.isInDoubt || hour.isInDoubt;
  }
  return sum;
}

bool RecordedDays::IsInDoubt(ArchiveTime first, ArchiveTime end) const {
  const auto doubt =
      std::upper_bound(doubts.begin(), doubts.end(), first,
                       [](ArchiveTime time, const DoubtedTime& each) { return time < each.to; });
  return doubt != doubts.end() && doubt->from < end;
}

RecordedDays FindRecordedHours(std::optional<ArchiveTime> from, std::optional<ArchiveTime> to,
                               const QTimeZone& zone, const ServedSource& source,
                               Timeline* timeline) {
  const ArchiveTime earliest = from.value_or(0);
  const ArchiveTime latest = std::min(to.value_or(kEndOfTimes), kEndOfTimes);
  const LocalHours localHours(0, InstantOf(kEndOfTimes), zone);
  HoursOfArchives archives(earliest, latest, localHours, source, timeline);
  archives.AddAll();

  Days days(localHours);
  const Stretches stretches = archives.Recorded().Stretches();
  for (const RecordedStretch& stretch : stretches) days.AddRecorded(stretch.from, stretch.to);
  days.AddEvents(archives.Events());
  std::vector<DoubtedTime> doubts;
  for (const DoubtedTime& each : archives.Doubts()) {
    DoubtedTime doubt = Bounded(each, stretches);
    doubt.from = std::max(doubt.from, earliest);
    doubt.to = std::min(doubt.to, latest);
    if (doubt.from < doubt.to) doubts.push_back(doubt);
  }
  RecordedDays found{from, to, {}, Joined(std::move(doubts))};
  for (const DoubtedTime& doubt : found.doubts) days.AddDoubt(doubt);
  found.days = days.Finish(earliest, latest);
  return found;
}
