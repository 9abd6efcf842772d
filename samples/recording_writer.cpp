#include "samples/recording_writer.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "samples/scenario_check.h"
#include "times/utc_time.h"

namespace {

struct EventKind {
  std::uint8_t type;
  const char* text;
};

constexpr EventKind kEventKinds[] = {
    {0x80, "Motion at the gate"},   {0x81, "Motion has ended"},
    {0x82, "Door opened"},          {0x83, "Door closed"},
    {0x90, "Number plate seen"},    {0x91, "Number plate unreadable"},
    {0xFA, "Operator's note"},      {0xFE, "Camera does not answer"},
    {0xFF, "Camera answers again"},
};

bool IsQuiet(const ScenarioQuietHours& hours, IndexTime indexTime) {
  const unsigned hour = indexTime % kSecondsPerDay / kSecondsPerHour;
  if (hours.from <= hours.to) return hour >= hours.from && hour < hours.to;
  return hour >= hours.from || hour < hours.to;
}

}  // namespace

RecordingWriter::RecordingWriter(const Scenario& scenario, RandomNumbers& random,
                                 std::uint32_t fileNumber, const std::string& path)
    : mScenario(scenario), mRandom(random), mWriter(path), mHeader(HeaderOf(scenario)) {
  for (const ScenarioHeaderChange& change : scenario.headerChanges) {
    if (change.file == fileNumber) mChanges.push_back(change);
  }
  std::stable_sort(mChanges.begin(), mChanges.end(), [](const auto& left, const auto& right) {
    return left.afterSeconds < right.afterSeconds;
  });
}

GroundTruthFile RecordingWriter::Write(IndexTime start, IndexTime end) {
  // Wider than an index time so that the last step does not overflow.
  for (std::uint64_t next = start; next < end; next += mScenario.indexIntervalSeconds) {
    const auto indexTime = static_cast<IndexTime>(next);
    WriteHeaderWhenDue(indexTime - start);
    WriteEntry(indexTime);
  }
  mWriter.Close();
  mTruth.size = mWriter.Position();
  mTruth.endIndexTime = end;
  mTruth.streamIds.assign(mStreamIds.begin(), mStreamIds.end());
  return std::move(mTruth);
}

void RecordingWriter::WriteHeaderWhenDue(std::uint32_t elapsedSeconds) {
  const bool changed = ApplyChanges(elapsedSeconds);
  if (!changed && !mTruth.headerPositions.empty()) return;
  mTruth.headerPositions.push_back(mWriter.Position());
  mWriter.WriteHeader(mHeader);
  for (const StreamDescriptor& stream : mHeader.streams) {
    if (stream.active != 0) mStreamIds.insert(stream.id);
  }
}

bool RecordingWriter::ApplyChanges(std::uint32_t elapsedSeconds) {
  const std::size_t first = mNextChange;
  for (; mNextChange < mChanges.size(); ++mNextChange) {
    const ScenarioHeaderChange& change = mChanges[mNextChange];
    if (change.afterSeconds > elapsedSeconds) break;
    for (StreamDescriptor& stream : mHeader.streams) {
      if (stream.id == change.streamId) stream.active = change.active ? 1 : 0;
    }
  }
  return mNextChange > first;
}

void RecordingWriter::WriteEntry(IndexTime indexTime) {
  const bool quiet = IsQuiet(mScenario.quietHours, indexTime);
  const std::uint64_t events = EventCount(quiet);
  GroundTruthEntry entry;
  entry.position = mWriter.Position();
  entry.indexTime = indexTime;
  entry.flagged = events > 0;
  mWriter.WriteIndex({indexTime, 0, static_cast<std::uint8_t>(entry.flagged ? 1 : 0)});
  WriteBlocks(SourcesOfEntry(quiet), &entry);
  for (std::uint64_t i = 0; i < events; ++i) WriteEvent(&entry);
  mTruth.entries.push_back(entry);
}

// The mean as a whole number, and its fraction as the chance of one more.
std::uint64_t RecordingWriter::EventCount(bool quiet) {
  const std::uint64_t span = std::uint64_t{kSecondsPerHour} * (quiet ? 4 : 1);
  const std::uint64_t expected =
      std::uint64_t{mScenario.eventsPerHour} * mScenario.indexIntervalSeconds;
  return expected / span + (mRandom.Below(span) < expected % span ? 1 : 0);
}

std::vector<RecordingWriter::Source> RecordingWriter::SourcesOfEntry(bool quiet) {
  std::vector<Source> sources;
  std::uint64_t shares = 0;
  for (std::size_t i = 0; i < mHeader.streams.size(); ++i) {
    if (mHeader.streams[i].active == 0) continue;
    shares += mScenario.streams[i].share;
    sources.push_back({&mScenario.streams[i], 0, 0});
  }
  for (Source& source : sources) {
    source.highestLevel = NextLevel(source.stream->id, quiet);
    if (shares > 0) source.bytesLeft = PayloadBytes(source.stream->share, shares);
  }
  return sources;
}

// The share of a stream in the bytes of an entry, up to a quarter more or less.
std::uint64_t RecordingWriter::PayloadBytes(std::uint32_t share, std::uint64_t shares) {
  const std::uint64_t total = mScenario.payloadBytesPerEntry;
  const std::uint64_t mean = total / shares * share + total % shares * share / shares;
  return mean - mean / 4 + mRandom.Below(mean / 2 + 1);
}

// Wanders by day, and is low and rare in quiet hours.
unsigned RecordingWriter::NextLevel(std::uint8_t streamId, bool quiet) {
  if (quiet) return mRandom.Below(16) == 0 ? 1 + static_cast<unsigned>(mRandom.Below(4)) : 0;
  constexpr unsigned kMostDown = 3;
  constexpr unsigned kMostUp = 4;
  unsigned& level = mLevels[streamId];
  const unsigned raised = level + static_cast<unsigned>(mRandom.Below(kMostDown + kMostUp + 1));
  level = std::min<unsigned>(kActivityMask, std::max(raised, kMostDown) - kMostDown);
  return level;
}

// The streams take turns, as they do where they are recorded at the same time.
void RecordingWriter::WriteBlocks(std::vector<Source> sources, GroundTruthEntry* entry) {
  for (bool more = true; more;) {
    more = false;
    for (Source& source : sources) {
      if (source.bytesLeft == 0) continue;
      const auto size = static_cast<std::size_t>(
          std::min<std::uint64_t>(source.bytesLeft, source.stream->blockSize));
      WriteBlock(source, size, entry);
      source.bytesLeft -= size;
      more = more || source.bytesLeft > 0;
    }
  }
}

void RecordingWriter::WriteBlock(const Source& source, std::size_t size, GroundTruthEntry* entry) {
  const auto level = static_cast<std::uint8_t>(mRandom.Below(source.highestLevel + 1));
  FillPayload(size);
  mWriter.WriteData(source.stream->id, level, mPayload.data(), size);
  entry->NoteActivity(source.stream->id, level);
}

// With bytes below 0x80, so that no payload holds a marker.
void RecordingWriter::FillPayload(std::size_t size) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  mPayload.resize((size + kWord - 1) / kWord * kWord);
  for (std::size_t at = 0; at < mPayload.size(); at += kWord) {
    const std::uint64_t word = mRandom.Next() & 0x7F7F7F7F7F7F7F7F;
    std::memcpy(mPayload.data() + at, &word, kWord);
  }
}

void RecordingWriter::WriteEvent(GroundTruthEntry* entry) {
  const EventKind& kind = kEventKinds[mRandom.Below(std::size(kEventKinds))];
  const auto level = static_cast<std::uint8_t>(mRandom.Below(8));
  const std::string text = kind.text;
  mWriter.WriteData(kind.type, level, reinterpret_cast<const unsigned char*>(text.data()),
                    text.size());
  entry->NoteActivity(kind.type, level);
  mTruth.events.push_back({entry->indexTime, kind.type, text});
}
