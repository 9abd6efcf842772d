#include "text/display_width.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

TEST(DisplayWidth, CountsColumnsOfATerminal) {
  struct Case {
    const char* text;
    std::size_t width;
  };
  const Case cases[] = {
      {"", 0},
      {"cam01.zel3", 10},
      {"Gr\xc3\xbc\xc3\x9f"
       "e",
       5},
      {"e\xcc\x81t\xcc\x81", 2},                    // letters with combining accents
      {"\xe6\xad\xa3\xe9\x97\xa8", 4},              // two Chinese characters
      {"\xed\x95\x9c", 2},                          // a Korean syllable
      {"\xe1\x84\x92\xe1\x85\xa1\xe1\x86\xab", 2},  // the same from its three letters
      {"\xf0\x9f\x93\xb7", 2},                      // a camera
      {"\xe2\x9d\xa4\xef\xb8\x8f", 2},              // a heart, to be shown as an emoji
      {"\xf0\x9f\xab\xa9", 2},                      // an emoji that is newer
      {"\xe2\x96\x81\xe2\x96\x88\xc2\xb7", 3},      // marks of an activity
      {"\xef\xbf\xbd", 1},
      {"a\xff\xfe"
       "b",
       4},              // bytes that are not UTF-8
      {"\xe6\xad", 2},  // the start of a character
  };
  for (const Case& each : cases) EXPECT_EQ(DisplayWidth(each.text), each.width) << each.text;
}

TEST(ShortenedToWidth, KeepsBothEndsAndWhatBelongsTogether) {
  struct Case {
    const char* text;
    std::size_t width;
    const char* shortened;
  };
  const Case cases[] = {
      {"cam01.zel3", 10, "cam01.zel3"},
      {"cam01.zel3", 9, "cam0…zel3"},
      {"cam01.zel3", 8, "cam0…el3"},
      {"cam01.zel3", 2, "c…"},
      {"cam01.zel3", 1, "…"},
      {"cam01.zel3", 0, ""},
      {"\xe6\xad\xa3\xe9\x97\xa8\xe5\x8c\x97", 6, "\xe6\xad\xa3\xe9\x97\xa8\xe5\x8c\x97"},
      {"\xe6\xad\xa3\xe9\x97\xa8\xe5\x8c\x97", 5, "\xe6\xad\xa3…\xe5\x8c\x97"},
      {"\xe6\xad\xa3\xe9\x97\xa8\xe5\x8c\x97", 4, "\xe6\xad\xa3…"},
      {"\xe6\xad\xa3\xe9\x97\xa8\xe5\x8c\x97", 2, "…"},
      {"e\xcc\x81"
       "ae\xcc\x81"
       "ae\xcc\x81",
       3, "e\xcc\x81…e\xcc\x81"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(ShortenedToWidth(each.text, each.width), each.shortened) << each.width;
}

TEST(WrappedToWidth, CutsAtSpacesWhereThereAreSome) {
  EXPECT_THAT(WrappedToWidth("", 3), ElementsAre(""));
  EXPECT_THAT(WrappedToWidth("one two", 7), ElementsAre("one two"));
  EXPECT_THAT(WrappedToWidth("one two", 6), ElementsAre("one", "two"));
  EXPECT_THAT(WrappedToWidth("one  two", 4), ElementsAre("one", "two"));
  EXPECT_THAT(WrappedToWidth("one two", 3), ElementsAre("one", "two"));
  EXPECT_THAT(WrappedToWidth("sevenly", 3), ElementsAre("sev", "enl", "y"));
  EXPECT_THAT(WrappedToWidth("a sevenly", 4), ElementsAre("a", "seve", "nly"));
  EXPECT_THAT(WrappedToWidth("\xe6\xad\xa3\xe9\x97\xa8", 3),
              ElementsAre("\xe6\xad\xa3", "\xe9\x97\xa8"));
  EXPECT_THAT(WrappedToWidth("\xe6\xad\xa3\xe9\x97\xa8", 1),
              ElementsAre("\xe6\xad\xa3", "\xe9\x97\xa8"));
}
