#include "archive/recorded_events.h"

#include <algorithm>

#include "archive/archive_headers.h"
#include "archive/kept_events.h"
#include "archive/record_steps.h"
#include "system/failure.h"
#include "system/interruption.h"

namespace {

// Compares the kept events with those of the archive, entry by entry.
class Comparison {
 public:
  explicit Comparison(const QString& eventsFile) : mKept(eventsFile) {}

  // What the archive has comes in file order. BeginEntry and EndEntry return false when something
  // else is kept.
  bool BeginEntry(FilePosition position, IndexTime time) {
    if (!EndEntry()) return false;
    mEntry = {time, static_cast<std::uint32_t>(position), 0};
    return true;
  }
  void AddEvent() { ++mEntry.count; }
  bool EndEntry() {
    if (mEntry.count == 0) return true;
    KeptGroup group;
    if (!mKept.NextGroup(&group) || group.time != mEntry.time ||
        group.offsetLow != mEntry.offsetLow || group.count != mEntry.count) {
      return false;
    }
    RecordedEvent event;
    for (unsigned i = 0; i < group.count; ++i) {
      if (!mKept.NextEvent(&event)) return false;
    }
    mCount += group.count;
    return true;
  }

  // After the last entry.
  std::optional<std::uint64_t> Count() const {
    return mKept.IsWhole() ? std::make_optional(mCount) : std::nullopt;
  }

 private:
  KeptEvents mKept;
  KeptGroup mEntry;  // as the archive has it; before the first entry, at 0 with time 0
  std::uint64_t mCount = 0;
};

// Hands over the events that a parser finds.
class EventSink : public FramingSink {
 public:
  explicit EventSink(const OnEvent& onEvent) : mOnEvent(onEvent) {}

  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {}
  void OnIndex(FilePosition /*position*/, const IDX_T& index) override {
    mEvent.time = ToArchiveTime(index.time);
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    if (!IsEventType(head.type)) return;
    mEvent.type = head.type;
    mEvent.text.assign(reinterpret_cast<const char*>(payload), head.length);
    mOnEvent(mEvent);
  }
  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {}
  void OnDamage(FilePosition /*position*/, std::uint64_t bytes) override { mDamaged += bytes; }

  std::uint64_t Damaged() const { return mDamaged; }

 private:
  const OnEvent& mOnEvent;
  RecordedEvent mEvent;
  std::uint64_t mDamaged = 0;
};

}  // namespace

std::optional<std::uint64_t> CountKeptEvents(const std::string& archive, const CacheNames& names) {
  PlainFile file;
  if (!file.Open(archive, PlainFile::Mode::kRead)) return std::nullopt;
  RecordSteps steps(file, 0, file.Size());
  Comparison comparison(names.events);
  KnownTypes known;
  for (;;) {
    const RecordSteps::Record record = steps.Next();
    switch (record.kind) {
      case RecordSteps::Kind::kHeader: {
        const std::optional<ArchiveHeader> header = HeaderAt(file, record.position);
        if (!header) return std::nullopt;
        known = TypesKnownBy(*header);
        break;
      }
      case RecordSteps::Kind::kIndex:
        interruption::Check();
        if (!comparison.BeginEntry(record.position, record.index.time)) return std::nullopt;
        break;
      case RecordSteps::Kind::kData:
        if (!known[*record.type]) return std::nullopt;
        if (IsEventType(*record.type)) comparison.AddEvent();
        break;
      case RecordSteps::Kind::kImpossible:
        return std::nullopt;
      case RecordSteps::Kind::kCutOff:
        // This far from the end, it cannot be read.
        if (file.Size() - record.position > kLargestRecordSize) return std::nullopt;
        [[fallthrough]];
      case RecordSteps::Kind::kEnd:
        return comparison.EndEntry() ? comparison.Count() : std::nullopt;
    }
  }
}

std::optional<std::uint64_t> ForEachKeptEvent(const CacheNames& names, const OnEvent& onEvent) {
  KeptEvents kept(names.events);
  KeptGroup group;
  RecordedEvent event;
  std::uint64_t count = 0;
  while (kept.NextGroup(&group)) {
    interruption::Check();
    for (unsigned i = 0; i < group.count && kept.NextEvent(&event); ++i, ++count) onEvent(event);
  }
  return kept.IsWhole() ? std::make_optional(count) : std::nullopt;
}

std::uint64_t ForEachFoundEvent(const std::string& archive, const OnEvent& onEvent,
                                const OnBytesRead& onBytesRead) {
  EventSink sink(onEvent);
  const ScannedBytes scanned = ScanArchive(archive, sink, onBytesRead);
  return std::max(scanned.unreadable, sink.Damaged());
}

std::uint64_t ForEachEvent(const std::string& archive, const CacheNames& names,
                           const OnEvent& onEvent, const OnBytesRead& onBytesRead) {
  const std::optional<std::uint64_t> kept = CountKeptEvents(archive, names);
  if (!kept) return ForEachFoundEvent(archive, onEvent, onBytesRead);
  if (ForEachKeptEvent(names, onEvent) != kept)
    throw Failure("the index of " + archive + " has changed while it was read");
  return 0;
}
