#include "output/table_layout.h"

#include <gmock/gmock.h>

#include "text/display_width.h"

namespace {

const TableRows kRows{
    {"file", "number", "start", "streams"},
    {"cam01_2024-05-01_11-30-00.zel3", "0", "2024-05-01T11:30:00.000Z", "1 2 3"},
    {"\xe6\xad\xa3\xe9\x97\xa8-cafe\xcc\x81.zel3", "11", "2024-05-01T14:15:00.000Z", "1"},
};

std::string Shown(const TableRows& rows, std::optional<std::size_t> width) {
  TableLayout layout(width);
  layout.Fit(rows);
  std::string shown;
  for (const TableRow& row : rows)
    shown += layout.Lines(row, [](std::size_t, const std::string& text) { return text; });
  return shown;
}

}  // namespace

TEST(TableLayout, AlignsByWhatATerminalShows) {
  constexpr char kWhole[] =
      "file                            number  start                     streams\n"
      "cam01_2024-05-01_11-30-00.zel3  0       2024-05-01T11:30:00.000Z  1 2 3\n"
      "\xe6\xad\xa3\xe9\x97\xa8-cafe\xcc\x81.zel3                  11      "
      "2024-05-01T14:15:00.000Z  1\n";
  EXPECT_EQ(Shown(kRows, std::nullopt), kWhole);
  EXPECT_EQ(Shown(kRows, 73), kWhole);
}

TEST(TableLayout, ShortensNamesWhereThatIsEnough) {
  EXPECT_EQ(Shown(kRows, 60),
            "file               number  start                     streams\n"
            "cam01_20…-00.zel3  0       2024-05-01T11:30:00.000Z  1 2 3\n"
            "\xe6\xad\xa3\xe9\x97\xa8-cafe\xcc\x81.zel3     11      2024-05-01T14:15:00.000Z  1\n");
}

TEST(TableLayout, GoesOnInFurtherLinesWhereNot) {
  EXPECT_EQ(Shown(kRows, 40),
            "file                            number\n"
            "    start                     streams\n"
            "cam01_2024-05-01_11-30-00.zel3  0\n"
            "    2024-05-01T11:30:00.000Z  1 2 3\n"
            "\xe6\xad\xa3\xe9\x97\xa8-cafe\xcc\x81.zel3                  11\n"
            "    2024-05-01T14:15:00.000Z  1\n");
  EXPECT_EQ(Shown({{"kind", "text"}, {"damage", "12 bytes make no sense"}}, 20),
            "kind    text\n"
            "damage\n"
            "    12 bytes make no\n"
            "    sense\n");
}

TEST(TableLayout, IsNeverWiderThanTheTerminal) {
  for (std::size_t width = 2; width < 120; ++width) {
    const std::string shown = Shown(kRows, width);
    for (std::size_t from = 0, end; (end = shown.find('\n', from)) != std::string::npos;
         from = end + 1) {
      EXPECT_LE(DisplayWidth(shown.substr(from, end - from)), width) << shown;
    }
  }
}
