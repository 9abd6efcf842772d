#include "archive/recorded_events.h"

#include <gmock/gmock.h>

#include <QFile>
#include <filesystem>

#include "archive/archive_writer.h"
#include "indexer/zel3_indexer.h"
#include "support/sample_archive.h"
#include "system/failure.h"

using testing::ElementsAre;
using testing::Not;

namespace {

namespace fs = std::filesystem;

// Feeds an indexer with what a parser finds, as a run does.
class IndexingSink : public FramingSink {
 public:
  explicit IndexingSink(cZel3Indexer* indexer) : mIndexer(indexer) {}

  void OnHeader(FilePosition position, const ArchiveHeader& /*header*/) override {
    mIndexer->SetRecordPosition(position);
    mIndexer->Add_header(HDR_T());
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    mIndexer->SetRecordPosition(position);
    mIndexer->Add_index(index);
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    mIndexer->Add_block(head, payload, head.length);
  }

 private:
  cZel3Indexer* const mIndexer;
};

// "time type text" of each event.
using Events = std::vector<std::string>;

std::string Line(ArchiveTime time, unsigned type, const std::string& text) {
  return std::to_string(time) + ' ' + std::to_string(type) + ' ' + text;
}

class RecordedEvents : public testing::Test {
 protected:
  struct Event {
    std::uint8_t type;
    std::string text;
  };

  RecordedEvents() { mWriter.WriteHeader(OneStreamHeader()); }

  // An entry with these events, and as many bytes of other data before and after them.
  void WriteEntry(IndexTime time, const std::vector<Event>& events, std::size_t otherBytes = 50) {
    const Bytes other(otherBytes, 0x80);
    mWriter.WriteIndex({time, 0, 0});
    mWriter.WriteData(1, 3, other.data(), other.size());
    for (const Event& event : events) {
      mWriter.WriteData(event.type, 0, reinterpret_cast<const unsigned char*>(event.text.data()),
                        event.text.size());
      mWritten.push_back(Line(ToArchiveTime(time), event.type, event.text));
    }
    mWriter.WriteData(1, 3, other.data(), other.size());
  }

  void Close() {
    mWriter.Close();
    BuildIndex();
  }

  void BuildIndex() {
    cZel3Indexer indexer;
    indexer.Open_file(QFile::decodeName(mArchive.c_str()), 0);
    ASSERT_TRUE(indexer.Reopen_for_write());
    indexer.BeginIntake();
    IndexingSink sink(&indexer);
    ScanArchive(mArchive, sink);
    indexer.Save_files();
  }

  // A busy archive with its index.
  void WriteSome() {
    WriteEntry(100, {});
    WriteEntry(110, {{0x80, "motion"}, {0x81, ""}});
    WriteEntry(120, {{0xFF, "back"}}, 60'000);
    WriteEntry(120, {{0x80, "same time"}});
    mWriter.WriteHeader(OneStreamHeader());
    WriteEntry(90, {{0x90, "earlier"}});
    WriteEntry(130, {});
    WriteEntry(140, {{0xFA, std::string(65'535, 'x')}, {0xFA, "last"}});
    Close();
  }

  CacheNames Names() const { return CacheNames(QFile::decodeName(mArchive.c_str()), QString()); }
  bool Keeps() const { return CountKeptEvents(mArchive, Names()).has_value(); }

  Events All(std::uint64_t damagedBytes = 0) const {
    Events events;
    EXPECT_EQ(ForEachEvent(mArchive, Names(), Into(&events)), damagedBytes);
    return events;
  }
  Events Kept() const {
    Events events;
    const auto count = ForEachKeptEvent(Names(), Into(&events));
    EXPECT_EQ(count, events.size());
    return events;
  }

  static OnEvent Into(Events* events) {
    return [events](const RecordedEvent& event) {
      events->push_back(Line(event.time, event.type, event.text));
    };
  }

  const TempFolder mFolder;
  const std::string mArchive = mFolder / "cam.zel3";
  const std::string mEvents = mFolder / "cam.evt";
  Events mWritten;
  ArchiveWriter mWriter{mArchive};
};

}  // namespace

TEST_F(RecordedEvents, OfASoundCacheAreKept) {
  WriteSome();
  EXPECT_TRUE(Keeps());
  EXPECT_EQ(Kept(), mWritten);
  EXPECT_EQ(All(), mWritten);
}

TEST_F(RecordedEvents, AreFoundWithoutACache) {
  WriteSome();
  Events found;
  EXPECT_EQ(ForEachFoundEvent(mArchive, Into(&found)), 0U);
  EXPECT_EQ(found, mWritten);
  fs::remove(mEvents);
  EXPECT_FALSE(Keeps());
  EXPECT_EQ(All(), mWritten);
}

TEST_F(RecordedEvents, AreNoneWhereNoneAre) {
  WriteEntry(1, {});
  WriteEntry(2, {});
  Close();
  EXPECT_TRUE(Keeps());
  EXPECT_EQ(All(), Events());
}

TEST_F(RecordedEvents, ASingleEmptyTextIsAnEvent) {
  WriteEntry(1, {{0x80, ""}});
  Close();
  EXPECT_TRUE(Keeps());
  EXPECT_THAT(All(), ElementsAre("1000 128 "));
}

TEST_F(RecordedEvents, OfAnEntryThatIsCutOff) {
  WriteSome();
  fs::resize_file(mArchive, fs::file_size(mArchive) - 60);
  mWritten.pop_back();
  EXPECT_FALSE(Keeps()) << "the last event is in the cache only";
  EXPECT_EQ(All(), mWritten);
  BuildIndex();
  EXPECT_TRUE(Keeps());
  EXPECT_EQ(All(), mWritten);
}

class EventsOfOneEntry : public RecordedEvents, public testing::WithParamInterface<std::size_t> {};

TEST_P(EventsOfOneEntry, AreAllThere) {
  WriteEntry(1, {{0x80, "before"}});
  WriteEntry(2, std::vector<Event>(GetParam(), Event{0x82, "door"}));
  WriteEntry(3, {{0x80, "after"}});
  Close();
  EXPECT_EQ(Keeps(), GetParam() < 256);
  EXPECT_EQ(All(), mWritten);
}

INSTANTIATE_TEST_SUITE_P(AroundTheLargestCount, EventsOfOneEntry,
                         testing::Values(254, 255, 256, 257, 300, 512, 513));

TEST_F(RecordedEvents, ATextMayHoldANul) {
  using namespace std::string_literals;
  WriteEntry(1, {{0x80, "before"}});
  WriteEntry(2, {{0x80, "a\0b"s}, {0x80, "\0"s}, {0x80, "\0\x80"s}});
  WriteEntry(3, {{0x80, "after"}});
  Close();
  EXPECT_FALSE(Keeps());
  EXPECT_EQ(All(), mWritten);
}

// The bytes after the NUL are the events of the next entry, and more.
TEST_F(RecordedEvents, ATextThatPretendsToBeTheCacheIsNotBelieved) {
  using namespace std::string_literals;
  WriteEntry(1, {{0x80, "a"}});
  const std::string forged = "b\0\2\0\0\0\1\1\0\0\1\x80"s + "never";
  WriteEntry(1, {{0x80, forged}});
  WriteEntry(2, {{0x80, "c"}});
  Close();
  EXPECT_FALSE(Keeps());
  EXPECT_EQ(All(), mWritten);
}

TEST_F(RecordedEvents, OfAnArchiveThatHasGrownAreFound) {
  WriteSome();
  {
    ArchiveWriter more(mFolder / "more.zel3");
    more.WriteHeader(OneStreamHeader());
    more.WriteIndex({150, 0, 0});
    more.WriteData(0x80, 0, reinterpret_cast<const unsigned char*>("new"), 3);
    more.Close();
  }
  WriteFile(mArchive, ReadFile(mArchive) + ReadFile(mFolder / "more.zel3"));
  mWritten.push_back("150000 128 new");
  EXPECT_FALSE(Keeps());
  EXPECT_EQ(All(), mWritten);
}

TEST_F(RecordedEvents, AreNeitherMoreNorFewerWhateverByteOfTheCacheIsWrong) {
  WriteEntry(110, {{0x80, "motion"}, {0x81, ""}});
  WriteEntry(120, {});
  WriteEntry(130, {{0xFF, "back"}});
  Close();
  const auto times = [](Events events) {
    for (std::string& event : events) event.resize(event.find(' '));
    return events;
  };
  const Bytes good = ReadFile(mEvents);
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (const int value : {0, 255, good[i] ^ 255, good[i] ^ 1}) {
      Bytes bad = good;
      bad[i] = static_cast<unsigned char>(value);
      WriteFile(mEvents, bad);
      EXPECT_EQ(times(All()), times(mWritten)) << "byte " << i << " = " << value;
    }
  }
  for (std::size_t size = 0; size < good.size(); ++size) {
    WriteFile(mEvents, Between(good, 0, size));
    EXPECT_EQ(All(), mWritten) << size << " bytes";
  }
  WriteFile(mEvents, good + good);
  EXPECT_EQ(All(), mWritten);
}

// Before its first entry an archive has none where it is sound.
TEST_F(RecordedEvents, BeforeTheFirstEntryHaveTheTimeZero) {
  WriteEntry(110, {{0x80, "motion"}});
  mWriter.Close();
  Bytes bytes = ReadFile(mArchive);
  const Bytes marker{0x05, 0xB5, 0xB5, 0xB5};
  const auto index = std::search(bytes.begin(), bytes.end(), marker.begin(), marker.end());
  ASSERT_NE(index, bytes.end());
  bytes.erase(index, index + kIndexRecordSize);
  WriteFile(mArchive, bytes);
  BuildIndex();
  EXPECT_TRUE(Keeps());
  EXPECT_THAT(All(), ElementsAre("0 128 motion"));
  Events found;
  ForEachFoundEvent(mArchive, Into(&found));
  EXPECT_EQ(found, All());
}

TEST_F(RecordedEvents, OfADamagedArchiveAreThoseThatAParserFinds) {
  WriteSome();
  Bytes bytes = ReadFile(mArchive);
  const std::string text = "same time";
  const auto place = std::search(bytes.begin(), bytes.end(), text.begin(), text.end());
  ASSERT_NE(place, bytes.end());
  *(place - 1) = 7;
  WriteFile(mArchive, bytes);
  EXPECT_FALSE(Keeps());
  // The event with its head, and the block of 50 bytes after it.
  const Events all = All(4 + 9 + 4 + 50);
  EXPECT_EQ(all.size(), mWritten.size() - 1);
  EXPECT_THAT(all, Not(testing::Contains("120000 128 same time")));
}

TEST_F(RecordedEvents, ACacheThatChangesMeanwhileIsAFailure) {
  const std::string text(60'000, 'x');
  for (IndexTime time = 1; time < 20; ++time) WriteEntry(time, {{0x80, text}});
  Close();
  const auto onEvent = [&](const RecordedEvent&) { fs::resize_file(mEvents, 0); };
  EXPECT_THROW(ForEachEvent(mArchive, Names(), onEvent), Failure);
}
