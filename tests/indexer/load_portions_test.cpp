#include <algorithm>
#include <cerrno>
#include <functional>

#include "indexer/entries_file.h"
#include "loaded_cache.h"
#include "support/file_faults.h"

// Entries are loaded a portion at a time. Nothing may depend on where one ends: what happens there
// is loaded as the plain rules say.

namespace {

using Entries = std::vector<EntryBytes>;

constexpr std::uint64_t kFirstPosition = 1000;
constexpr std::uint64_t kDistance = 100;
constexpr std::uint32_t kFirst = 5000;
constexpr std::uint32_t kStep = 10;

// The entries at which a portion begins, whatever its size will be, and those beside them.
std::vector<int> PlacesAtBorders() {
  std::vector<int> borders = {1024, 2048, 4096, 8192, kEntriesPerRead, 2 * kEntriesPerRead};
  std::vector<int> places;
  for (const int border : borders) places.insert(places.end(), {border - 1, border, border + 1});
  std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  return places;
}

std::uint64_t PositionOf(int entry) {
  return kFirstPosition + kDistance * static_cast<unsigned>(entry);
}

Entries Even(int count) {
  Entries entries;
  for (int i = 0; i < count; ++i) {
    entries.push_back(
        {kFirst + kStep * static_cast<unsigned>(i), static_cast<std::uint32_t>(PositionOf(i))});
  }
  return entries;
}

// Moves the times of the entries from `place` on.
void Shift(Entries& entries, int place, std::uint32_t by) {
  for (std::size_t i = static_cast<std::size_t>(place); i < entries.size(); ++i)
    entries[i].time += by;
}

class LoadedPortions : public LoadedCache {
 protected:
  // With entries that go on for a while after the place.
  void ExpectPlainRules(int place, const std::function<void(Entries&)>& change,
                        const std::vector<std::uint64_t>& headers = {0}) {
    Entries entries = Even(place + 700);
    change(entries);
    ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(Id3File(entries), HdrFile(headers), {},
                                                        PositionOf(place + 900), place));
  }
};

struct EntryChange {
  const char* what;
  std::function<void(Entries& entries, int place)> change;
};

EntryBytes& EntryOf(Entries& entries, int number) {
  return entries[static_cast<std::size_t>(number)];
}

const EntryChange kEntryChanges[] = {
    {"none", [](Entries&, int) {}},
    {"a time equal to the one before",
     [](Entries& entries, int place) { Shift(entries, place, 0U - kStep); }},
    {"a small step", [](Entries& entries, int place) { Shift(entries, place, 0U - kStep + 4); }},
    {"a fall to a time inside the range",
     [](Entries& entries, int place) { Shift(entries, place, 0U - 2 * kStep); }},
    {"one entry back in time",
     [](Entries& entries, int place) { EntryOf(entries, place).time -= 2 * kStep; }},
    {"one entry ahead in time",
     [](Entries& entries, int place) { EntryOf(entries, place).time += 5 * kStep; }},
    {"a fall to just before the start",
     [](Entries& entries, int place) { EntryOf(entries, place).time = kFirst - 4; }},
    {"a fall, then a small step at the end of the range",
     [](Entries& entries, int place) {
       EntryOf(entries, 7).time -= 2 * kStep;
       Shift(entries, place, 0U - kStep + 5);
     }},
    {"all that follow begin again from the start",
     [](Entries& entries, int place) {
       Shift(entries, place, 0U - kStep * static_cast<unsigned>(place));
     }},
    {"times that wrap", [](Entries& entries, int place) { Shift(entries, place, 0xFFFF0000); }},
    {"a position equal to the one before",
     [](Entries& entries, int place) { EntryOf(entries, place).offsetLow -= kDistance; }},
    {"a fall of the position",
     [](Entries& entries, int place) { EntryOf(entries, place).offsetLow -= 2 * kDistance; }},
    {"a position from 4 GiB on",
     [](Entries& entries, int place) {
       EntryOf(entries, place).offsetLow = 7;
       EntryOf(entries, place).offsetHigh = 1;
     }},
};

TEST_F(LoadedPortions, TakeEntriesByThePlainRules) {
  for (const int place : PlacesAtBorders()) {
    for (const EntryChange& row : kEntryChanges) {
      SCOPED_TRACE(testing::Message() << row.what << " at " << place);
      ASSERT_NO_FATAL_FAILURE(
          ExpectPlainRules(place, [&](Entries& entries) { row.change(entries, place); }));
    }
  }
}

TEST_F(LoadedPortions, KeepTheRangeAndTheSmallestStep) {
  for (const int place : PlacesAtBorders()) {
    SCOPED_TRACE(place);
    Entries entries = Even(place + 10);
    Shift(entries, place, 0U - kStep + 4);
    WriteCache(Id3File(entries), {}, {});
    ASSERT_TRUE(Open());
    EXPECT_EQ(index.Current().startTime, kFirst);
    EXPECT_EQ(index.Current().endTime, entries.back().time + 4);
  }
}

struct HeadersAt {
  const char* what;
  std::function<std::vector<std::uint64_t>(int place)> headers;
};

const HeadersAt kHeadersAt[] = {
    {"none", [](int) { return std::vector<std::uint64_t>(); }},
    {"at the entry", [](int place) { return std::vector{PositionOf(place)}; }},
    {"just before it", [](int place) { return std::vector{PositionOf(place) - 1}; }},
    {"just after it", [](int place) { return std::vector{PositionOf(place) + 1}; }},
    {"around it and far after it",
     [](int place) {
       return std::vector<std::uint64_t>{3,
                                         PositionOf(place) - 1,
                                         PositionOf(place),
                                         PositionOf(place),
                                         PositionOf(place) + 1,
                                         PositionOf(place + 500) + 1,
                                         PositionOf(place + 699),
                                         PositionOf(place + 800)};
     }},
    {"before every entry around it",
     [](int place) {
       std::vector<std::uint64_t> headers;
       for (int i = place + 40; i > place - 40; --i) headers.push_back(PositionOf(i) - 1);
       return headers;
     }},
    {"after all entries", [](int place) { return std::vector{PositionOf(place + 800)}; }},
};

TEST_F(LoadedPortions, TakeHeadersByThePlainRules) {
  for (const int place : PlacesAtBorders()) {
    for (const HeadersAt& row : kHeadersAt) {
      for (const bool fall : {false, true}) {
        SCOPED_TRACE(testing::Message() << row.what << " at " << place << (fall ? ", a fall" : ""));
        const auto change = [&](Entries& entries) {
          if (fall) EntryOf(entries, place).offsetLow -= 150;
        };
        ASSERT_NO_FATAL_FAILURE(ExpectPlainRules(place, change, row.headers(place)));
      }
    }
  }
}

// The file may end there, with or without a part of one more entry.
TEST_F(LoadedPortions, EndWhereTheFileEnds) {
  for (const int place : PlacesAtBorders()) {
    for (const std::size_t fragment : {0, 1, 23}) {
      SCOPED_TRACE(testing::Message() << place << " and " << fragment);
      Bytes id3 = Id3File(Even(place));
      id3.resize(id3.size() + fragment, 1);
      ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(
          id3, HdrFile({0, PositionOf(place - 1) - 1}), {}, PositionOf(place), place - 1));
    }
  }
}

TEST_F(LoadedPortions, MayComeInShortReads) {
  for (const int place : PlacesAtBorders()) {
    SCOPED_TRACE(place);
    const ShortReads reads(10007);
    ASSERT_NO_FATAL_FAILURE(ExpectLoadedByThePlainRules(
        Id3File(Even(place + 5)), HdrFile({0, PositionOf(place)}), {}, PositionOf(place + 6)));
  }
}

// What stands before the first byte that cannot be read is taken, as far as it is whole entries.
TEST_F(LoadedPortions, EndWhereTheFileCannotBeRead) {
  for (const int place : PlacesAtBorders()) {
    for (const int bytesMore : {0, 1, 23}) {
      SCOPED_TRACE(testing::Message() << place << " and " << bytesMore);
      WriteCache(Id3File(Even(place + 5)), HdrFile({0}), {});
      const std::uint64_t from =
          24ULL * static_cast<unsigned>(place) + static_cast<unsigned>(bytesMore);
      const UnreadableBytes unreadable(Beside("id3"), {{from, from + 1}});
      ASSERT_TRUE(Open());
      EXPECT_EQ(index.Current().id3Records.size(), place);
      EXPECT_EQ(index.Current().lastIndexTime, Even(place).back().time);
    }
  }
}

TEST_F(LoadedPortions, AreNoneWhereNotEvenTheFirstEntryCanBeRead) {
  WriteCache(Id3File(Even(5)), {}, {});
  for (const std::uint64_t readable : {0, 23}) {
    SCOPED_TRACE(readable);
    const UnreadableBytes unreadable(Beside("id3"), {{readable, readable + 1}});
    EXPECT_FALSE(Open());
    EXPECT_TRUE(index.Files().empty());
  }
}

// A run that replaces the file leaves this one as it is; whoever else writes to it adds nothing.
TEST_F(LoadedPortions, EndWhereTheFileEndedWhenItWasOpened) {
  constexpr int kCount = kEntriesPerRead + 10;
  constexpr int kFirstRead = 3;  // after three files are opened
  WriteCache(Id3File(Even(kCount)), HdrFile({0}), {});
  const FileFaults between(kFirstRead,
                           [this] { WriteFile(Beside("id3"), Id3File(Even(kCount + 5))); });
  ASSERT_TRUE(Open());
  EXPECT_EQ(between.Struck(), 1);
  EXPECT_EQ(index.Current().id3Records.size(), kCount);
}

// What comes after a read that failed once might begin within an entry.
TEST_F(LoadedPortions, EndAtAReadThatFailsOnce) {
  constexpr int kCount = 2 * kEntriesPerRead + 100;
  WriteCache(Id3File(Even(kCount)), HdrFile({0}), {});
  for (const int read : {2, 5, 11, 15}) {
    SCOPED_TRACE(read);
    const ShortReads reads(10007);
    const FileFaults faults(FileOperation::kRead, read, FileFaults::Repeats::kOnce, EIO);
    ASSERT_TRUE(Open());
    EXPECT_EQ(faults.Struck(), 1);
    const QVector<ZEL_ID3_REC>& records = index.Current().id3Records;
    ASSERT_GT(records.size(), 0);
    ASSERT_LT(records.size(), kCount);
    const Entries expected = Even(records.size());
    for (int i = 0; i < records.size(); ++i)
      ASSERT_EQ(records.at(i).time, expected[static_cast<std::size_t>(i)].time) << i;
  }
}

}  // namespace
