#include <gmock/gmock.h>

#include "support/program.h"

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

// A folder without archives: opening it prints nothing.
class ConsoleErrors : public ProgramTest {
 protected:
  ProgramResult Console(const std::string& input) { return Run({"console", Folder()}, input); }
};

}  // namespace

TEST_F(ConsoleErrors, ALineThatIsNotACommandIsRefused) {
  const char* const lines[] = {
      "x",
      "{",
      "ArcR",
      "\"ArcR\"",
      "7",
      "null",
      "{}",
      R"({"cmd":null})",
      R"({"cmd":7})",
      R"({"cmd":"arcr"})",
      R"({"cmd":"ArcA"})",
      R"({"cmd":"Kill"})",
      R"({"cmd":"ArcR"} {"cmd":"ArcR"})",
      R"({"cmd":"ArcR","time":0})",
      R"({"cmd":"datr","x":1})",
      R"({"cmd":"CRq3","time":-1})",
      R"({"cmd":"CRq3","time":18446744073709551616})",
      R"({"cmd":"CRq3","time":1.0})",
      R"({"cmd":"CRq3","time":1e3})",
      R"({"cmd":"CRq3","time":"1"})",
      R"({"cmd":"CRq3","time":null})",
      R"({"cmd":"CRq3","time":true})",
      R"({"cmd":"CRq3","time":[1]})",
      R"({"cmd":"CRq3","time":01})",
      R"({"cmd":"CRq3","type":4294967296})",
      R"({"cmd":"CRq3","type":-1})",
      R"({"cmd":"CRq3","preview":0})",
      R"({"cmd":"PCR3","preview":2})",
      R"({"cmd":"PCR3","preview":true})",
      R"({"cmd":"PCR3","timeReached":0})",
      R"({"cmd":"Pla3","forward":256})",
      R"({"cmd":"Pla3","mode":4294967296})",
      R"({"cmd":"His3","binCount":2147483648})",
      R"({"cmd":"His3","binCount":-2147483649})",
      R"({"cmd":"His3","streamId":9223372036854775808})",
      R"({"cmd":"Prev","type":1})",
      "[[]]",
      R"([[{"cmd":"ArcR"}]])",
      R"([{"cmd":"ArcR"},7])",
      "{\"cmd\":\"Arc\xff\"}",
  };
  for (const char* const line : lines) {
    SCOPED_TRACE(line);
    const ProgramResult result = Console(line);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(LinesOf(result.out),
                ElementsAre(kIdle, MatchesRegex(R"(\{"error":"line 1: [a-zA-Z ]+"\})"), kIdle));
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(ConsoleErrors, ALineWithANulIsRefused) {
  const std::string lines[] = {
      std::string("{\"cmd\":\"datr\"}\0garbage", 22),
      std::string("{\"cmd\":\"datr\"}\0", 15),
      std::string("{\"cmd\":\0\"datr\"}", 15),
      std::string("[]\0", 3),
      std::string("\0", 1),
  };
  for (const std::string& line : lines) {
    SCOPED_TRACE(testing::PrintToString(line));
    const ProgramResult result = Console(line + "\n");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(LinesOf(result.out),
                ElementsAre(kIdle, R"({"error":"line 1: not a JSON value"})", kIdle));
  }
}

TEST_F(ConsoleErrors, LargestAndSmallestNumbersAreTaken) {
  const char* const lines[] = {
      R"({"cmd":"CRq3","time":18446744073709551615,"type":4294967295})",
      R"({"cmd":"PCR3","indexId":18446744073709551615,"time":18446744073709551615,"preview":1})",
      R"({"cmd":"Pla3","indexId":18446744073709551615,"time":0,"mode":4294967295,"forward":255})",
      R"({"cmd":"His3","from":18446744073709551615,"to":0,"binCount":-2147483648,"streamId":2147483647})",
      R"({"cmd":"Prev","time":18446744073709551615,"endTime":18446744073709551615})",
      R"({"cmd":"CRq3","time":-0,"type":-0})",
      R"( { "time" : 0 , "cmd" : "CRq3" } )",
  };
  for (const char* const line : lines) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Console(line).exitCode, 0);
  }
}

TEST_F(ConsoleErrors, OneBadElementRefusesTheWholeLine) {
  const ProgramResult result = Console(R"([{"cmd":"Pla3"},{"cmd":"Pla3","forward":-1}])");
  EXPECT_THAT(LinesOf(result.out), ElementsAre(kIdle, testing::HasSubstr("line 1: "), kIdle));
}

TEST_F(ConsoleErrors, TheConsoleGoesOnAfterAnError) {
  const ProgramResult result = Console("x\n{\"cmd\":\"datr\"}\n");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre(kIdle, testing::HasSubstr("line 1: "), kIdle,
                  R"({"block":"RDat","size":13,"bytes":"05b5b5b5000000000000000000"})", kIdle));
}

TEST_F(ConsoleErrors, AnErrorInTheMiddleIsKeptInTheExitStatus) {
  const ProgramResult result = Console("{\"cmd\":\"datr\"}\r\nx\r\n{\"cmd\":\"datr\"}\r\n");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(LinesOf(result.out),
              ElementsAre(kIdle, testing::HasSubstr("RDat"), kIdle, testing::HasSubstr("line 2: "),
                          kIdle, testing::HasSubstr("RDat"), kIdle));
}

TEST_F(ConsoleErrors, BlankLinesAreSkippedButCounted) {
  const ProgramResult result = Console("\n \t \r\nx\n\n\ny");
  EXPECT_THAT(LinesOf(result.out), ElementsAre(kIdle, testing::HasSubstr("line 3: "), kIdle,
                                               testing::HasSubstr("line 6: "), kIdle));
}

TEST_F(ConsoleErrors, AnEmptyArrayIsALineOfNoCommands) {
  const ProgramResult result = Console("[]\n[ ]\r\n");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(LinesOf(result.out), ElementsAre(kIdle, kIdle, kIdle));
}

TEST_F(ConsoleErrors, ErrorsDoNotRepeatTheInput) {
  EXPECT_THAT(Console(R"({"cmd":"ArcR","secret":1})").out,
              testing::Not(testing::HasSubstr("secret")));
}
