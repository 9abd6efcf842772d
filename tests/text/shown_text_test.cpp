#include "text/shown_text.h"

#include <gmock/gmock.h>

TEST(Escaped, LeavesNothingThatATerminalWouldObey) {
  const struct {
    std::string text;
    std::string shown;
  } cases[] = {
      {"Gate north", "Gate north"},
      {"Stra\xc3\x9f"
       "e",
       "Stra\xc3\x9f"
       "e"},
      {"\x1b[2J", "\\u001b[2J"},
      {"a\nb\tc", "a\\u000ab\\u0009c"},
      {"\x7f", "\\u007f"},
      {"\xc2\x9b"
       "31m",
       "\\u009b31m"},
      {"\xe2\x80\xae", "\\u202e"},
      {"\xff", "\xef\xbf\xbd"},
      {std::string("a\0b", 3), "a\\u0000b"},
  };
  for (const auto& each : cases) EXPECT_EQ(Escaped(each.text), each.shown);
}
