#include <algorithm>
#include <random>

#include "cache_test.h"
#include "support/plain_cache.h"

// Any bytes in the cache files are loaded as the plain rules say, and every question about them has
// an answer.

namespace {

// Bytes of a few values make many small numbers and short texts, bytes of any value few.
Bytes RandomBytes(std::mt19937& random, std::size_t maximum, std::size_t values) {
  Bytes bytes(random() % (maximum + 1));
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() % values);
  return bytes;
}

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

std::vector<std::uint64_t> WholePositions(const Bytes& hdr) {
  std::vector<std::uint64_t> positions;
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

// Asks everything about the file. A stretch holds what it was asked for.
void AskEverything(cZel3Indexer& index) {
  for (std::uint32_t entry = 0; entry < 12; ++entry) {
    const std::uint64_t indexId = MakeIndexId(0, entry);
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    if (index.Index_pos_from_IndexId(indexId, &start, &end)) {
      const std::uint64_t position =
          index.Files()[0].id3Records.at(static_cast<int>(entry)).offsetLow;
      EXPECT_TRUE((start <= position && position < end) || (start == 0 && end == 0));
      EXPECT_LE(index.Header_pos_for_index(indexId), position);
    }
  }
  for (const sFile_Index_Store& store : index.Files()) {
    for (const ZEL_ID3_REC& record : store.id3Records) {
      TZEL3ChunkInfo info;
      if (index.IndexInfoFromTime(ToArchiveTime(record.time), 1, true, &info)) {
        const std::uint64_t indexId = info.indexId;
        EXPECT_LT(EntryNumber(indexId), static_cast<std::uint32_t>(store.id3Records.size()));
      }
    }
  }
  QList<TEventListEntry> events;
  EXPECT_EQ(index.Put_events_to_vector(&events), !index.Files()[0].events.isEmpty());
}

class RandomCache : public CacheTest, public testing::WithParamInterface<std::size_t> {
 protected:
  void ExpectLoadedByThePlainRules(const Bytes& id3, const Bytes& hdr, const Bytes& evt) {
    WriteCache(id3, hdr, evt);
    PlainEntries entries = PlainId3(id3);
    const std::vector<std::uint64_t> headers = WholePositions(hdr);
    const std::vector<PlainGroup> events = PlainEvents(evt);
    PlainInsertHeaders(headers, &entries.cuts);
    const bool anything = !entries.times.empty() || !headers.empty() || !events.empty();
    if (anything) entries.cuts.push_back(9000);

    cZel3Indexer fresh;
    ASSERT_EQ(fresh.Open_file(Path(archive), 9000), anything);
    const sFile_Index_Store& loaded = fresh.Current();
    ASSERT_EQ(Times(loaded), entries.times);
    ASSERT_EQ(loaded.startTime, entries.start);
    ASSERT_EQ(loaded.endTime, entries.end);
    ASSERT_EQ(loaded.indexInterval, entries.interval);
    ASSERT_EQ(Positions(loaded.headerPositions), headers);
    ASSERT_EQ(Positions(loaded.blockPositions), entries.cuts);
    ASSERT_EQ(::Shown(loaded.events), Shown(events));
    if (!anything) return;
    ExpectKnownOrder(fresh.Files()[0]);
    AskEverything(fresh);
  }
};

TEST_P(RandomCache, IsLoadedByThePlainRules) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Bytes id3 = RandomBytes(random, 12 * 24, GetParam());
    const Bytes hdr = RandomBytes(random, 12 * 8, GetParam());
    const Bytes evt = RandomBytes(random, 200, GetParam());
    ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(id3, hdr, evt));
  }
}

INSTANTIATE_TEST_SUITE_P(Values, RandomCache, testing::Values(2, 3, 16, 256),
                         [](const auto& parameter) {
                           return "OutOf" + std::to_string(parameter.param);
                         });

using LongCache = RandomCache;

// More entries than are read at a time; some of them fall back in time or in position.
TEST_P(LongCache, IsLoadedByThePlainRules) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<EntryBytes> entries(1000 + random() % 2500);
    std::vector<std::uint64_t> headers;
    std::uint32_t time = 100000;
    std::uint32_t position = 100000;
    for (EntryBytes& entry : entries) {
      const bool falls = GetParam() > 0 && random() % GetParam() == 0;
      time += falls ? 0U - random() % 20 : random() % 10;
      position += falls ? 0U - random() % 200 : random() % 100;
      entry.time = time;
      entry.offsetLow = position;
      if (random() % 50 == 0) headers.push_back(position - random() % 3);
    }
    if (seed % 2 == 0) std::shuffle(headers.begin(), headers.end(), random);
    ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(Id3File(entries), HdrFile(headers), {}));
  }
}

INSTANTIATE_TEST_SUITE_P(FallsOnceIn, LongCache, testing::Values(0, 10, 1000, 3000));

}  // namespace
