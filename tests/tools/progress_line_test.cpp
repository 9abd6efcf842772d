#include "output/progress_line.h"

#include <gmock/gmock.h>

#include "text/display_width.h"

namespace {

ProgressFacts Facts() {
  ProgressFacts facts;
  facts.state.what = "indexing";
  facts.state.name = "cam01_2024-05-01.zel3";
  facts.state.number = 2;
  facts.state.count = 12;
  facts.state.done = 370;
  facts.state.all = 1000;
  facts.rate = 85.4e6;
  facts.left = 11.2;
  return facts;
}

}  // namespace

TEST(ProgressLine, SaysLessInANarrowerTerminal) {
  struct Case {
    std::size_t width;
    const char* line;
  };
  const Case cases[] = {
      {200,
       "2/12 indexing cam01_2024-05-01.zel3 [##############..........................]  37%  "
       "85 MB/s  0:12 left"},
      {80, "2/12 indexing cam01_2024-05-01.zel3 [######...........]  37%  85 MB/s  0:12 left"},
      {73, "2/12 indexing cam01_2024-05-01.zel3 [###.......]  37%  85 MB/s  0:12 left"},
      {65, "2/12 indexing cam01_…1.zel3 [###.......]  37%  85 MB/s  0:12 left"},
      {64, "2/12 indexing cam01_….zel3 [###.......]  37%  85 MB/s  0:12 left"},
      {63, "2/12 indexing cam01_2024…5-01.zel3 [###.......]  37%  0:12 left"},
      {55, "2/12 indexing cam01_….zel3 [###.......]  37%  0:12 left"},
      {54, "2/12 indexing [########..............]  37%  0:12 left"},
      {42, "2/12 indexing [###.......]  37%  0:12 left"},
      {41, "2/12 indexing  37%  0:12 left"},
      {29, "2/12 indexing  37%  0:12 left"},
      {28, "2/12 indexing  37%"},
      {17, "2/12  37%"},
      {9, "2/12  37%"},
      {8, "37%"},
      {3, "37%"},
      {2, ""},
      {0, ""},
  };
  for (const Case& each : cases) EXPECT_EQ(ProgressLine(Facts(), each.width), each.line);
}

TEST(ProgressLine, IsNeverTooWide) {
  for (const std::string name : {"", "a", "\xe6\xad\xa3\xe9\x97\xa8-2024-05-01-\xe5\x8c\x97.zel3",
                                 "e\xcc\x81\xcc\x82", "\x1b[2J\n"}) {
    for (const std::uint64_t all : {0, 1000, 5}) {
      for (std::size_t width = 0; width < 250; ++width) {
        ProgressFacts facts = Facts();
        facts.state.name = name;
        facts.state.all = all;
        const std::string line = ProgressLine(facts, width);
        EXPECT_LE(DisplayWidth(line), width) << line;
        EXPECT_EQ(line.find_first_of("\x1b\n\r"), std::string::npos);
      }
    }
  }
}

TEST(ProgressLine, LeavesOutWhatIsNotKnown) {
  ProgressFacts facts;
  facts.state.what = "reading";
  facts.state.name = "a.zel3";
  facts.state.done = 999600;
  EXPECT_EQ(ProgressLine(facts, 80), "reading a.zel3 1.0 MB");
  facts.rate = 123;
  EXPECT_EQ(ProgressLine(facts, 80), "reading a.zel3 1.0 MB  123 B/s");
  facts.state.unit = WorkState::Unit::kFiles;
  facts.state.done = 1;
  facts.state.all = facts.state.count = 4;
  facts.state.number = 2;
  facts.rate = 2.52;
  facts.left = 3599.5;
  EXPECT_EQ(ProgressLine(facts, 80),
            "2/4 reading a.zel3 [######.....................]  25%  2.5 files/s  1:00:00 left");
}
