#include "client/doubt.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "archive/framing_follow.h"
#include "blocks/stream_records.h"
#include "client/recorded_time.h"
#include "text/shown_text.h"

namespace {

// Whether the framing fails to lead from an entry to the next one, or from the last one to the end
// of the file. A record that the end cuts off is not damage, unless it swallows others.
bool IsDamagedAfter(const OpenedArchive& archive, std::size_t entry) {
  const KeptIndex& index = archive.Index();
  const bool isLast = entry + 1 == index.Count();
  const FilePosition end = isLast ? archive.File().Size() : index.PositionOf(entry + 1);
  const FollowedFraming followed = FollowFraming(
      archive.File(), index.PositionOf(entry) + kIndexRecordSize, end, index.HeaderFor(entry));
  if (followed.isDamaged || followed.wholeUpTo == end) return followed.isDamaged;
  return !isLast || HoldsMarker(archive.File(), followed.wholeUpTo + 1, end);
}

// The same from the entry before to this one, or from the start of the file to the first.
bool IsDamagedBefore(const OpenedArchive& archive, std::size_t entry) {
  if (entry > 0) return IsDamagedAfter(archive, entry - 1);
  const FilePosition end = archive.Index().PositionOf(0);
  const FollowedFraming followed = FollowFraming(archive.File(), 0, end, std::nullopt);
  return followed.isDamaged || followed.wholeUpTo != end;
}

// The ends of an archive without an index have been found to be sound.
void DoubtTail(std::size_t number, Timeline* timeline) {
  if (!timeline->Archives()[number].HasIndex()) return;
  const OpenedArchive* const opened = timeline->Open(number);
  if (opened == nullptr || !IsDamagedAfter(*opened, opened->Index().Count() - 1)) return;
  timeline->Doubt(number, "is damaged after its last entry; later ones may be lost");
}

// Goes through the times in which damage may hide entries: before the first entry, and where
// nothing is found after one. Ends when `onDoubted` returns false.
void ForEachDamagedGap(const OpenedArchive& archive, ArchiveTime from, ArchiveTime to,
                       const std::function<bool(const DoubtedTime&)>& onDoubted) {
  const KeptIndex& index = archive.Index();
  const ArchiveTime first = index.PlaceOf(0);
  if (from <= first && IsDamagedBefore(archive, 0) &&
      !onDoubted({0, first + kArchiveTimePerIndexTime})) {
    return;
  }
  for (std::size_t entry = 0; entry < index.Count(); ++entry) {
    const bool isLast = entry + 1 == index.Count();
    const ArchiveTime end = EndOfEntry(archive, entry);
    const ArchiveTime next = isLast ? to : index.PlaceOf(entry + 1);
    const bool meets = index.PlaceOf(entry) < to && next > from;
    if (!meets || !(isLast || end < next) || !IsDamagedAfter(archive, entry)) continue;
    // 0 would stand for the time before all entries.
    const ArchiveTime begin = std::max<ArchiveTime>(end - kArchiveTimePerIndexTime, 1);
    if (!onDoubted({begin, isLast ? kNoEndOfDoubt : next})) return;
  }
}

// Whether an archive meets a range, or is near it with no other one between them: then what damage
// at its ends hides may lie in the range.
bool Reaches(std::size_t number, ArchiveTime from, ArchiveTime to, const Timeline& timeline) {
  const ServedArchive& archive = timeline.Archives()[number];
  const auto isBetween = [&archive, from, to](const ServedArchive& other) {
    if (other.IsLeftOut()) return false;
    return archive.start >= to ? other.start >= to && other.start < archive.start
                               : other.end < from && other.end > archive.end;
  };
  if (archive.IsLeftOut()) return false;
  if (archive.start < to && archive.end >= from) return true;
  // The ends of an archive without an index have been found to be sound.
  if (!archive.HasIndex()) return false;
  const ArchiveTime distance = archive.start >= to ? archive.start - to : from - archive.end;
  const std::vector<ServedArchive>& all = timeline.Archives();
  return distance < kReachOfDoubt && std::none_of(all.begin(), all.end(), isBetween);
}

// The archive when it reaches into the range and can be served.
const OpenedArchive* OpenWithin(std::size_t number, ArchiveTime from, ArchiveTime to,
                                Timeline* timeline) {
  return Reaches(number, from, to, *timeline) ? timeline->Open(number) : nullptr;
}

constexpr char kEntriesMayBeLost[] = "is damaged where nothing is found; entries may be lost there";

}  // namespace

void DoubtFound(const FoundEntry& found, ArchiveTime time, Lookup lookup, Timeline* timeline) {
  if (lookup == Lookup::kAtOrBefore && found.time == time) return;
  const OpenedArchive* const opened = timeline->Open(found.fileNumber);
  if (opened == nullptr) return;
  if (IsDamagedBefore(*opened, found.entryNumber) || IsDamagedAfter(*opened, found.entryNumber))
    timeline->Doubt(found.fileNumber, "is damaged beside the entry; a nearer one may be lost");
  if (found.entryNumber == 0 && found.fileNumber > 0 && found.time > time)
    DoubtTail(found.fileNumber - 1, timeline);
}

void DoubtFirst(const FoundEntry& first, Timeline* timeline) {
  const OpenedArchive* const opened = timeline->Open(first.fileNumber);
  if (opened != nullptr && IsDamagedBefore(*opened, first.entryNumber))
    timeline->Doubt(first.fileNumber, "is damaged before an entry; others may be lost there");
  if (first.entryNumber == 0 && first.fileNumber > 0) DoubtTail(first.fileNumber - 1, timeline);
}

void DoubtEnds(Timeline* timeline) {
  for (std::size_t number = 0; number < timeline->Archives().size(); ++number) {
    const ServedArchive& archive = timeline->Archives()[number];
    const bool isAtEnd = archive.start == timeline->Start() || archive.end == timeline->End();
    const OpenedArchive* const opened =
        archive.HasIndex() && isAtEnd ? timeline->Open(number) : nullptr;
    if (opened == nullptr) continue;
    if (IsDamagedBefore(*opened, 0))
      timeline->Doubt(number, "is damaged before its first entry; others may be lost there");
    DoubtTail(number, timeline);
  }
}

void DoubtRecorded(std::size_t number, ArchiveTime from, ArchiveTime to, Timeline* timeline) {
  const OpenedArchive* const opened = OpenWithin(number, from, to, timeline);
  if (opened == nullptr) return;
  ForEachDamagedGap(*opened, from, to, [number, timeline](const DoubtedTime& /*time*/) {
    timeline->Doubt(number, kEntriesMayBeLost);
    return false;
  });
}

std::vector<DoubtedTime> FindDoubted(std::size_t number, ArchiveTime from, ArchiveTime to,
                                     Timeline* timeline) {
  std::vector<DoubtedTime> doubted;
  const OpenedArchive* const opened = OpenWithin(number, from, to, timeline);
  if (opened == nullptr) return doubted;
  ForEachDamagedGap(*opened, from, to, [&doubted](const DoubtedTime& time) {
    doubted.push_back(time);
    return true;
  });
  if (!doubted.empty()) timeline->Doubt(number, kEntriesMayBeLost);
  return doubted;
}

void DoubtRecorded(ArchiveTime from, ArchiveTime to, Timeline* timeline) {
  for (std::size_t number = 0; number < timeline->Archives().size(); ++number)
    DoubtRecorded(number, from, to, timeline);
}

void DoubtLevels(ArchiveTime from, ArchiveTime to, Timeline* timeline) {
  for (std::size_t number = 0; number < timeline->Archives().size(); ++number) {
    const ServedArchive& archive = timeline->Archives()[number];
    if (archive.IsLeftOut() || archive.misplaced == 0) continue;
    if (archive.start >= to || archive.end < from) continue;
    const bool isOne = archive.misplaced == 1;
    timeline->Doubt(number, "has " + Counted(archive.misplaced, "entry", "entries") +
                                " with a wrong time; " +
                                (isOne ? "its level is" : "their levels are") + " not counted");
  }
}
