#include "text/near_names.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NearNames, AreThoseWithFewOtherLetters) {
  const std::vector<std::string> verbs{"make", "info",    "index", "seek",
                                       "read", "preview", "report"};
  const struct {
    const char* mistyped;
    std::vector<std::string> near;
  } cases[] = {
      {"seek", {"seek"}},            // itself
      {"sekk", {"seek"}},            // a wrong letter
      {"sek", {"seek"}},             // one is missing
      {"seeek", {"seek"}},           // one too many
      {"raed", {"read"}},            // two are swapped
      {"perview", {"preview"}},      // two of more
      {"in", {"info", "index"}},     // how both begin
      {"pre", {"preview"}},          // how one begins
      {"rep", {"report"}},           //
      {"repad", {"read"}},           //
      {"frobnicate", {}},            // nothing like it
      {"s", {}},                     // too short to tell
      {"", {}},                      //
      {"maek", {"make"}},            //
      {"seekseekseekseekseek", {}},  // much longer
  };
  for (const auto& each : cases)
    EXPECT_EQ(NearNames(each.mistyped, verbs), each.near) << each.mistyped;
}

TEST(NearNames, AreTwoAtMostTheNearestFirst) {
  EXPECT_THAT(NearNames("abcdef", {"abcdxy", "abcdex", "abcxef", "abcdef"}),
              ElementsAre("abcdef", "abcdex"));
  EXPECT_THAT(NearNames("abc", {}), IsEmpty());
}

TEST(NearNames, AreAskedFor) {
  EXPECT_EQ(DidYouMean({}), "");
  EXPECT_EQ(DidYouMean({"seek"}), ": did you mean 'seek'?");
  EXPECT_EQ(DidYouMean({"info", "index"}), ": did you mean 'info' or 'index'?");
}
