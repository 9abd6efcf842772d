#include "output/output_style.h"

#include <gmock/gmock.h>

TEST(OutputStyle, PeopleGetIsoTimesAndProgramsIntegers) {
  OutputStyle style;
  EXPECT_EQ(style.Times(), TimeFormat::kIso);
  style.format = OutputFormat::kJson;
  EXPECT_EQ(style.Times(), TimeFormat::kInteger);
  style.askedTimeFormat = TimeFormat::kIso;
  EXPECT_EQ(style.Times(), TimeFormat::kIso);
}
