#include <algorithm>

#include "cache_test.h"
#include "support/file_faults.h"

namespace {

class LoadedEvents : public CacheTest {
 protected:
  bool OpenWith(const Bytes& evt) {
    WriteCache({}, {}, evt);
    return Open();
  }
};

struct EventsCase {
  const char* what;
  Bytes bytes;
  Texts groups;
};

TEST_F(LoadedEvents, AreReadAsFarAsTheGroupsAreWhole) {
  const std::string longText(70000, 'x');
  const EventsCase cases[] = {
      {"nothing", {}, {}},
      {"11 bytes, a whole group, are never read", EvtFile().Group(7, 8, 1).Event(0x80, ""), {}},
      {"12 bytes", EvtFile().Group(7, 8, 1).Event(0x80, "a"), {"7@8 x1 80'a'"}},
      {"one byte of a text is missing", EvtFile().Group(7, 8, 1).UnterminatedEvent(0x80, "a"), {}},
      {"empty texts",
       EvtFile().Group(7, 8, 2).Event(0x80, "").Event(0x81, "a"),
       {"7@8 x2 80'' 81'a'"}},
      {"types are not looked at",
       EvtFile().Group(7, 8, 2).Event(0, "null").Event(0x33, "any"),
       {"7@8 x2 0'null' 33'any'"}},
      {"no event in the first group",
       EvtFile().Group(7, 8, 0).Group(9, 9, 1).Event(0x80, "abc"),
       {}},
      {"two groups",
       EvtFile()
           .Group(7, 8, 1)
           .Event(0x80, "one")
           .Group(0xFFFFFFFF, 0xFFFFFFFE, 1)
           .Event(0xFF, "two"),
       {"7@8 x1 80'one'", "4294967295@4294967294 x1 ff'two'"}},
      {"two groups of one key stay two",
       EvtFile().Group(7, 8, 1).Event(0x80, "one").Group(7, 8, 1).Event(0x80, "two"),
       {"7@8 x1 80'one'", "7@8 x1 80'two'"}},
      {"no event in the second group ends it",
       EvtFile().Group(7, 8, 1).Event(0x80, "one").Group(9, 9, 0).Group(9, 9, 1).Event(0x80, "two"),
       {"7@8 x1 80'one'"}},
      {"3 announced, 2 there",
       EvtFile().Group(7, 8, 3).Event(0x80, "one").Event(0x81, "two"),
       {"7@8 x2 80'one' 81'two'"}},
      {"255 announced, 1 there", EvtFile().Group(7, 8, 255).Event(0x80, "one"), {"7@8 x1 80'one'"}},
      {"a last event of 2 bytes is not read",
       EvtFile().Group(7, 8, 2).Event(0x80, "one").Event(0x81, ""),
       {"7@8 x1 80'one'"}},
      {"a last event of 3 bytes is",
       EvtFile().Group(7, 8, 2).Event(0x80, "one").Event(0x81, "a"),
       {"7@8 x2 80'one' 81'a'"}},
      {"a later group of 11 bytes is not read",
       EvtFile().Group(7, 8, 1).Event(0x80, "one").Group(9, 9, 1).Event(0x80, ""),
       {"7@8 x1 80'one'"}},
      {"a later group of 12 bytes is",
       EvtFile().Group(7, 8, 1).Event(0x80, "one").Group(9, 9, 1).Event(0x80, "a"),
       {"7@8 x1 80'one'", "9@9 x1 80'a'"}},
      {"an announced event is taken from the next group",
       EvtFile()
           .Group(7, 8, 2)
           .Event(0x80, "one")
           .Group(0x20202020, 0x20202020, 1)
           .Event(0x80, "a"),
       {"7@8 x2 80'one' 20'       \x01\x80"
        "a'"}},
      {"an unterminated last text ends with the file",
       EvtFile().Group(7, 8, 1).UnterminatedEvent(0x80, "open"),
       {"7@8 x1 80'open'"}},
      {"nothing is read after an unterminated text",
       EvtFile().Group(7, 8, 200).Event(0x80, "one").UnterminatedEvent(0x81, "open"),
       {"7@8 x2 80'one' 81'open'"}},
      {"a text after which 1 byte is left",
       EvtFile().Group(7, 8, 1).Event(0x80, "one").Raw({1}),
       {"7@8 x1 80'one'"}},
      {"any characters",
       EvtFile().Group(7, 8, 1).Event(0xFE, "\xFF\x80\n\x01"),
       {"7@8 x1 fe'\xFF\x80\n\x01'"}},
      {"a long text",
       EvtFile().Group(7, 8, 1).Event(0x80, longText),
       {"7@8 x1 80'" + longText + "'"}},
  };
  for (const EventsCase& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(OpenWith(row.bytes), !row.groups.empty());
    EXPECT_EQ(Shown(index.Current().events), row.groups);
  }
}

TEST_F(LoadedEvents, OfOneGroupAreUpTo255) {
  EvtFile file;
  file.Group(7, 8, 255);
  for (int i = 0; i < 256; ++i) file.Event(0x80, "text");
  ASSERT_TRUE(OpenWith(file));
  EXPECT_EQ(index.Current().events.at(0).eventCount, 255);
  EXPECT_EQ(index.Current().events.at(0).events.size(), 255);
}

TEST_F(LoadedEvents, EndAnywhereTheFileIsCut) {
  EvtFile file;
  for (std::uint32_t i = 1; i <= 3; ++i) file.Group(i, i, 2).Event(0x80, "abc").Event(0x81, "de");
  const Bytes whole = file;
  const Texts groups = {"1@1 x2 80'abc' 81'de'", "2@2 x2 80'abc' 81'de'", "3@3 x2 80'abc' 81'de'"};
  const std::size_t groupSize = whole.size() / 3;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SCOPED_TRACE(size);
    const bool opened = OpenWith(Cut(whole, size));
    EXPECT_EQ(opened, size >= 12);
    const Texts loaded = Shown(index.Current().events);
    const std::size_t wholeGroups = size / groupSize;
    ASSERT_GE(loaded.size(), wholeGroups);
    EXPECT_LE(loaded.size(), wholeGroups + 1);
    EXPECT_TRUE(std::equal(
        groups.begin(), groups.begin() + static_cast<std::ptrdiff_t>(wholeGroups), loaded.begin()));
  }
}

TEST_F(LoadedEvents, OfAGroupThatCannotBeReadFurtherThanItsHeadAreNone) {
  WriteCache({}, {}, EvtFile().Group(7, 8, 1).Event(0x80, "door"));
  for (const std::uint64_t readable : {9, 10, 11}) {
    SCOPED_TRACE(readable);
    const UnreadableBytes unreadable(Beside("evt"), {{readable, readable + 1}});
    EXPECT_FALSE(Open());
    EXPECT_TRUE(index.Current().events.isEmpty());
  }
}

// A cache may hold several groups of one key. They lie elsewhere than those collected before.
TEST_F(LoadedEvents, AreJoinedByThoseOfARunInEveryGroupOfTheirKey) {
  DATA_T event;
  event.type = 0x81;
  for (const std::uint32_t time : {1, 2, 3}) {
    index.Add_index(IndexAt(time));
    index.Add_block(event, nullptr, 0);
  }
  ASSERT_EQ(index.Current().events.size(), 3);
  ASSERT_TRUE(OpenWith(EvtFile()
                           .Group(100, 500, 1)
                           .Event(0x80, "a")
                           .Group(101, 500, 1)
                           .Event(0x80, "b")
                           .Group(100, 500, 1)
                           .Event(0x80, "c")));
  index.SetRecordPosition(500);
  index.Add_index(IndexAt(100));
  for (int i = 0; i < 2; ++i) index.Add_block(event, nullptr, 0);
  EXPECT_THAT(Shown(index.Current().events),
              testing::ElementsAre("100@500 x3 80'a' 81'' 81''", "101@500 x1 80'b'",
                                   "100@500 x3 80'c' 81'' 81''"));
}

}  // namespace
