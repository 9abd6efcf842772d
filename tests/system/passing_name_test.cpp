#include "system/passing_name.h"

#include <gtest/gtest.h>

TEST(PassingName, IsOneOfOurs) {
  const struct {
    const char* name;
    bool is;
    bool isEarlier;
  } rows[] = {
      {".zel3-unfinished-aB3xYz", true, false},
      {".zel3-unfinished-aB3xYz.zel3", true, false},
      {".zel3-unfinished-aB3xY", false, false},
      {".zel3-unfinished-aB3xY.", false, false},
      {".zel3-unfinished-aB3xYzz", false, false},
      {".zel3-unfinished-aB3xYz.txt", false, false},
      {".zel3-unfinished", false, false},
      {"zel3-unfinished-aB3xYz", false, false},
      {".zel3-aB3xYz", false, true},
      {".zel3-aB3xYz.zel3", false, true},
      {".zel3-aB3xYz.html", false, false},
      {".zel3-", false, false},
      {"", false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(passing_name::Is(row.name), row.is);
    EXPECT_EQ(passing_name::IsEarlier(row.name), row.isEarlier);
  }
}
