#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "json/json_line.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "text/json_text.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// DEL, two C1 controls, and characters that change the direction of writing.
const std::string kUnsafe =
    "\x7f \xc2\x80 \xc2\x9b \xd8\x9c \xe2\x80\x8e \xe2\x80\x8f \xe2\x80\xaa \xe2\x80\xae "
    "\xe2\x81\xa6 \xe2\x81\xa9";
const std::string kUnsafeEscaped =
    "\\u007f \\u0080 \\u009b \\u061c \\u200e \\u200f \\u202a \\u202e \\u2066 \\u2069";
// The characters next to them.
const std::string kSafe = "~ \xc2\xa0 \xd8\x9b \xe2\x80\x90 \xe2\x80\xa9 \xe2\x80\xaf \xe2\x81\xaa";

// An archive in which every text given by people is unsafe.
class Escaping : public ProgramTest {
 protected:
  void Write(const std::vector<std::string>& events) {
    ArchiveHeader header = OneStreamHeader();
    header.title = kUnsafe;
    header.streams[0].name = kUnsafe;
    ArchiveWriter writer(mPath);
    writer.WriteHeader(header);
    std::uint32_t time = 7;
    for (const std::string& text : events) {
      writer.WriteIndex({time++, 0, 1});
      writer.WriteData(0xFA, 0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
    writer.Close();
  }

  const std::string mPath = *this / (kUnsafe + ".zel3");
};

bool HoldsUnsafe(const std::string& text) {
  std::size_t start = 0;
  for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
    end = kUnsafe.find(' ', start);
    if (text.find(kUnsafe.substr(start, end - start)) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

TEST(JsonText, HoldsNothingRawThatATerminalWouldObey) {
  const Json json = {{kUnsafe, kUnsafe + kSafe}};
  EXPECT_EQ(JsonText(json), "{\"" + kUnsafeEscaped + "\":\"" + kUnsafeEscaped + kSafe + "\"}");
  EXPECT_EQ(Json::parse(JsonText(json)), json) << "the same to whoever parses it";
  EXPECT_EQ(PlainJsonText(json), "{\"" + kUnsafe + "\":\"" + kUnsafe + kSafe + "\"}");
}

TEST_F(Escaping, NoOutputHoldsWhatATerminalWouldObey) {
  Write({kUnsafe, "\x1b[2J"});
  const std::vector<Arguments> verbs{
      {"info", mPath},
      {"info", mPath, "--format", "json"},
      {"index", mPath},
      {"index", mPath, "--format", "json"},
      {"seek", mPath, "7000", "--explain"},
      {"seek", mPath, "7000", "--explain", "--format", "json"},
      {"events", mPath},
      {"events", mPath, "--format", "json"},
      {"events", mPath, "--format", "jsonl"},
      {"events", mPath, "--format", "csv"},
      {"dump", mPath},
      {"dump", mPath, "--format", "jsonl"},
      {"doctor", mPath},
      {"doctor", mPath, "--format", "json"},
      {"report", mPath, "-o", "-"},
      {"info", *this / "missing" + kUnsafe},
  };
  for (const Arguments& arguments : verbs) {
    const ProgramResult result = Run(arguments);
    EXPECT_FALSE(HoldsUnsafe(result.out)) << testing::PrintToString(arguments);
    EXPECT_FALSE(HoldsUnsafe(result.err)) << testing::PrintToString(arguments);
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("\x1b")));
  }
  EXPECT_THAT(Run({"events", mPath, "--format", "jsonl"}).out, HasSubstr(kUnsafeEscaped));
}

TEST_F(Escaping, TheConsoleShowsWhatTheReaderSays) {
  Write({kUnsafe});
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  EXPECT_THAT(Run({"console", mPath}, R"({"cmd":"Pla3","forward":1})").out, HasSubstr(kUnsafe));
}

TEST_F(Escaping, NoCsvCellBeginsAsAFormula) {
  Write({"=1+1", "+1", "-1", "@sum", "\tx", "a=b", "=\"x\",y", "'q"});
  std::vector<std::string> texts;
  for (const std::string& line : LinesOf(Run({"events", mPath, "--format", "csv"}).out))
    texts.push_back(line.substr(line.find(',', line.find(',') + 1) + 1));
  EXPECT_THAT(texts, ElementsAre("text", "'=1+1", "'+1", "'-1", "'@sum", "\\u0009x", "a=b",
                                 "\"'=\"\"x\"\",y\"", "'q"));
}
