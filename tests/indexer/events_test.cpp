#include <gmock/gmock.h>

#include <algorithm>

#include "stores_for_tests.h"
#include "support/scarce_memory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

EVT_FILE_DATA_T Group(std::uint32_t time, const std::vector<std::string>& texts) {
  EVT_FILE_DATA_T group;
  group.time = time;
  group.eventCount = static_cast<std::uint8_t>(texts.size());
  for (const std::string& text : texts) {
    EVT_FILE_EVENT_T event;
    event.eventType = static_cast<std::uint8_t>(0x80 + group.events.size());
    event.text = text;
    group.events.append(event);
  }
  return group;
}

sFile_Index_Store FileWithEvents(const std::string& name, std::uint32_t time,
                                 const QList<EVT_FILE_DATA_T>& groups) {
  sFile_Index_Store store = FileOf(name, {time});
  store.events = groups;
  return store;
}

// "100000 80'door'"
Texts Shown(const QList<TEventListEntry>& list) {
  Texts texts;
  for (const TEventListEntry& entry : list) {
    EVT_FILE_DATA_T one = Group(0, {std::string(entry.text)});
    one.events[0].eventType = entry.eventType;
    const std::string shown = Shown(one);
    texts.push_back(std::to_string(std::uint64_t{entry.time}) + shown.substr(shown.find("x1") + 2));
  }
  return texts;
}

class EventList : public testing::Test {
 protected:
  EventList() {
    TEventListEntry stale;
    stale.text = "stale";
    list.append(stale);
  }

  cZel3Indexer index;
  QList<TEventListEntry> list;
};

TEST_F(EventList, HoldsTheEventsOfAllFilesInListOrder) {
  FileAll(index, {FileWithEvents("late", 900, {Group(900, {"c"})}),
                  FileWithEvents("early", 100, {Group(300, {"a1", "a2"}), Group(100, {"b", ""})})});
  EXPECT_TRUE(index.Put_events_to_vector(&list));
  EXPECT_THAT(Shown(list), ElementsAre("300000 80'a1'", "300000 81'a2'", "100000 80'b'",
                                       "100000 81''", "900000 80'c'"));
}

TEST_F(EventList, MultipliesTimesIn64Bits) {
  index.Add_file_index(
      FileWithEvents("a", 1, {Group(4000000000, {"x"}), Group(0xFFFFFFFF, {"y"})}));
  EXPECT_TRUE(index.Put_events_to_vector(&list));
  EXPECT_THAT(Shown(list), ElementsAre("4000000000000 80'x'", "4294967295000 80'y'"));
}

TEST_F(EventList, HoldsWhatAGroupHoldsWhateverItsCount) {
  EVT_FILE_DATA_T group = Group(100, {"a", "b"});
  for (const int count : {0, 1, 255}) {
    group.eventCount = static_cast<std::uint8_t>(count);
    cZel3Indexer fresh;
    fresh.Add_file_index(FileWithEvents("a", 1, {group}));
    EXPECT_TRUE(fresh.Put_events_to_vector(&list));
    EXPECT_THAT(Shown(list), ElementsAre("100000 80'a'", "100000 81'b'"));
  }
}

TEST_F(EventList, IsReplacedEachTime) {
  index.Add_file_index(FileWithEvents("a", 1, {Group(100, {"a"})}));
  EXPECT_TRUE(index.Put_events_to_vector(&list));
  EXPECT_TRUE(index.Put_events_to_vector(&list));
  EXPECT_THAT(Shown(list), ElementsAre("100000 80'a'"));
}

TEST_F(EventList, IsEmptiedWhenThereAreNoEvents) {
  FileAll(index, {FileOf("a", {1}), FileWithEvents("b", 2, {Group(100, {})})});
  EXPECT_FALSE(index.Put_events_to_vector(&list));
  EXPECT_THAT(Shown(list), IsEmpty());
}

TEST_F(EventList, StaysAsItIsWhenThereAreNoFiles) {
  EXPECT_FALSE(index.Put_events_to_vector(&list));
  EXPECT_THAT(Shown(list), ElementsAre("0 0'stale'"));
}

TEST_F(EventList, IsNeededForAnAnswer) {
  index.Add_file_index(FileWithEvents("a", 1, {Group(100, {"a"})}));
  EXPECT_FALSE(index.Put_events_to_vector(nullptr));
  EXPECT_FALSE(cZel3Indexer().Put_events_to_vector(nullptr));
}

TEST_F(EventList, KeepsItsEventsWhenTheIndexGoes) {
  {
    cZel3Indexer shortLived;
    shortLived.Add_file_index(FileWithEvents("a", 1, {Group(100, {"a text of some length"})}));
    shortLived.Put_events_to_vector(&list);
  }
  EXPECT_THAT(Shown(list), ElementsAre("100000 80'a text of some length'"));
}

TEST_F(EventList, EndsWhereTheMemoryEnds) {
  const Texts all = {"100000 80'a'", "100000 81'b'", "100000 82'c'"};
  index.Add_file_index(FileWithEvents("a", 1, {Group(100, {"a", "b", "c"})}));
  std::vector<std::size_t> sizes;
  bool refused = true;
  for (int allocations = 0; refused; ++allocations) {
    bool answer = false;
    {
      const ScarceMemory scarce(allocations);
      answer = index.Put_events_to_vector(&list);
      refused = scarce.Refused() > 0;
    }
    const Texts shown = Shown(list);
    EXPECT_EQ(answer, !shown.empty());
    ASSERT_LE(shown.size(), all.size());
    EXPECT_TRUE(std::equal(shown.begin(), shown.end(), all.begin()));
    sizes.push_back(shown.size());
  }
  EXPECT_EQ(sizes.front(), 0U);
  EXPECT_THAT(sizes, testing::Contains(1U));
  EXPECT_EQ(sizes.back(), all.size());
}

}  // namespace
