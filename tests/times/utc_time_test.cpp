#include "times/utc_time.h"

#include <gtest/gtest.h>

namespace {

TEST(FileNameTime, IsTheDateAndTimeInUtc) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {0, "1970-01-01_00-00-00"},          {86399, "1970-01-01_23-59-59"},
      {1714521600, "2024-05-01_00-00-00"}, {951782400, "2000-02-29_00-00-00"},
      {951868800, "2000-03-01_00-00-00"},  {1709164800, "2024-02-29_00-00-00"},
      {1677628799, "2023-02-28_23-59-59"}, {1677628800, "2023-03-01_00-00-00"},
      {1735689599, "2024-12-31_23-59-59"}, {2147483647, "2038-01-19_03-14-07"},
      {4294967295, "2106-02-07_06-28-15"},
  };
  for (const auto& [seconds, text] : cases) EXPECT_EQ(FileNameTime(seconds), text);
}

}  // namespace
