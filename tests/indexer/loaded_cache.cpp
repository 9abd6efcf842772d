#include "loaded_cache.h"

#include <algorithm>
#include <random>
#include <utility>

#include "support/plain_time_index.h"

namespace {

using Positions64 = std::vector<std::uint64_t>;

constexpr int kEntriesLookedUp = 16;

Texts Shown(const std::vector<PlainGroup>& groups) {
  Texts texts;
  for (const PlainGroup& group : groups) {
    EVT_FILE_DATA_T shown;
    shown.time = group.time;
    shown.offsetLow = group.offsetLow;
    shown.eventCount = static_cast<std::uint8_t>(group.events.size());
    for (const PlainEvent& event : group.events) {
      EVT_FILE_EVENT_T shownEvent;
      shownEvent.eventType = event.type;
      shownEvent.text = event.text;
      shown.events.append(shownEvent);
    }
    texts.push_back(::Shown(shown));
  }
  return texts;
}

Positions64 WholePositions(const Bytes& hdr) {
  Positions64 positions;
  for (std::size_t place = 0; place + 8 <= hdr.size(); place += 8) {
    std::uint64_t position = 0;
    for (std::size_t i = 8; i-- > 0;) position = position << 8 | hdr[place + i];
    positions.push_back(position);
  }
  return positions;
}

std::vector<std::uint32_t> Times(const sFile_Index_Store& store) {
  std::vector<std::uint32_t> times;
  for (const ZEL_ID3_REC& record : store.id3Records) times.push_back(record.time);
  return times;
}

// What loading has seen of the order is what looking at the whole store gives.
void ExpectKnownOrder(const FiledStore& filed) {
  const StoreOrder order = OrderOf(filed);
  EXPECT_EQ(filed.order.entriesAscend, order.entriesAscend);
  EXPECT_EQ(filed.order.headersAscend, order.headersAscend);
  EXPECT_EQ(filed.order.cutsAscend, order.cutsAscend);
}

// All of few entries, some of many: the first and the last, those around `near`, others.
std::vector<int> EntriesToLookUp(int count, int near) {
  std::vector<int> numbers;
  if (count <= kEntriesLookedUp) {
    for (int i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
  }
  for (int i = -3; i <= 3; ++i) numbers.push_back(std::clamp(near + i, 0, count - 1));
  for (const int i : {0, 1, count - 2, count - 1}) numbers.push_back(i);
  std::mt19937 random(static_cast<unsigned>(count));
  while (static_cast<int>(numbers.size()) < kEntriesLookedUp)
    numbers.push_back(static_cast<int>(random() % static_cast<unsigned>(count)));
  return numbers;
}

void CompareStretch(const cZel3Indexer& index, const Positions64& cuts, std::uint64_t position) {
  const auto expected = PlainStretch(cuts, position);
  std::uint64_t start = position;
  const std::uint64_t end = index.Get_read_size(0, &start);
  ASSERT_EQ(std::make_pair(start, end), expected) << "at " << position;
}

// The bytes of entries and the headers before them, and the stretches at places near them.
void ComparePositions(const cZel3Indexer& index, const Positions64& headers,
                      const Positions64& cuts, const std::vector<int>& entries) {
  const QVector<ZEL_ID3_REC>& records = index.Files()[0].id3Records;
  Positions64 places = {0, 8999, 9000, 1ULL << 32, ~0ULL, cuts.back(), cuts.back() - 1};
  for (const int entry : entries) {
    SCOPED_TRACE(entry);
    const std::uint64_t position = records.at(entry).offsetLow;
    const std::uint64_t indexId = MakeIndexId(0, static_cast<std::uint32_t>(entry));
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    ASSERT_TRUE(index.Index_pos_from_IndexId(indexId, &start, &end));
    ASSERT_EQ(std::make_pair(start, end), PlainStretch(cuts, position));
    ASSERT_EQ(index.Header_pos_for_index(indexId), PlainHeaderBefore(headers, position));
    places.insert(places.end(), {position - 1, position + 1});
  }
  for (std::size_t i = 0; i < headers.size(); i += 1 + headers.size() / 20)
    places.insert(places.end(), {headers[i] - 1, headers[i], headers[i] + 1});
  for (const std::uint64_t place : places)
    ASSERT_NO_FATAL_FAILURE(CompareStretch(index, cuts, place));
  const auto count = static_cast<std::uint32_t>(records.size());
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  ASSERT_FALSE(index.Index_pos_from_IndexId(MakeIndexId(0, count), &start, &end));
}

void CompareTimes(cZel3Indexer& index, const PlainEntries& plain, const std::vector<int>& entries) {
  PlainTimeIndex walk;
  walk.File({"cam", plain.start, plain.end, false, plain.times});
  std::vector<std::uint64_t> times = {0, ToArchiveTime(plain.start), ToArchiveTime(plain.end)};
  for (const int entry : entries)
    times.push_back(ToArchiveTime(plain.times[static_cast<std::size_t>(entry)]));
  for (const std::uint64_t time : times) {
    for (const std::uint64_t asked : {time - 1, time, time + 500}) {
      for (const Ask ask : kAllAsks)
        ASSERT_EQ(Look(index, asked, ask), walk.Find(asked, ask)) << ask << ' ' << asked;
      ASSERT_EQ(LookWithType(index, asked, 3, true), kNothing);
    }
  }
}

}  // namespace

void LoadedCache::ExpectLoadedByThePlainRules(const Bytes& id3, const Bytes& hdr, const Bytes& evt,
                                              std::uint64_t end, int near) {
  WriteCache(id3, hdr, evt);
  PlainEntries entries = PlainId3(id3);
  const Positions64 headers = WholePositions(hdr);
  const std::vector<PlainGroup> events = PlainEvents(evt);
  PlainInsertHeaders(headers, &entries.cuts);
  const bool anything = !entries.times.empty() || !headers.empty() || !events.empty();
  if (anything) entries.cuts.push_back(end);

  cZel3Indexer fresh;
  ASSERT_EQ(fresh.Open_file(Path(archive), end), anything);
  const sFile_Index_Store& loaded = fresh.Current();
  ASSERT_EQ(Times(loaded), entries.times);
  ASSERT_EQ(loaded.startTime, entries.start);
  ASSERT_EQ(loaded.endTime, entries.end);
  ASSERT_EQ(loaded.indexInterval, entries.interval);
  ASSERT_EQ(Positions(loaded.headerPositions), headers);
  ASSERT_EQ(Positions(AllCuts(loaded)), entries.cuts);
  ASSERT_EQ(::Shown(loaded.events), Shown(events));
  if (!anything) return;
  ExpectKnownOrder(fresh.Files()[0]);
  const std::vector<int> lookedUp = EntriesToLookUp(static_cast<int>(entries.times.size()), near);
  ASSERT_NO_FATAL_FAILURE(ComparePositions(fresh, headers, entries.cuts, lookedUp));
  ASSERT_NO_FATAL_FAILURE(CompareTimes(fresh, entries, lookedUp));
  QList<TEventListEntry> list;
  EXPECT_EQ(fresh.Put_events_to_vector(&list), !events.empty());
}
