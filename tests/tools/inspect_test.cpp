#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/program.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

std::string BuiltFile(const std::string& name) {
  return (fs::path(ZEL3_PROGRAM).parent_path().parent_path() / "lib" / name).string();
}

class Inspect : public ProgramTest {
 protected:
  nlohmann::json Facts(const Arguments& more = {}) {
    Arguments arguments{"inspect", "--format", "json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(LinesOf(result.out), SizeIs(1));
    return nlohmann::json::parse(result.out)["plugins"];
  }
};

// What a brick sends "up" or "down": a line "block: sent, sent," for each block that it was sent.
std::vector<std::string> Sent(const nlohmann::json& plugIn, const char* direction) {
  std::vector<std::string> lines;
  for (const nlohmann::json& reaction : plugIn["reactions"]) {
    std::string line = reaction["block"].get<std::string>() + ":";
    for (const nlohmann::json& block : reaction[direction])
      line += " " + block.get<std::string>() + ",";
    lines.push_back(line);
  }
  return lines;
}

}  // namespace

TEST_F(Inspect, TellsWhatTheReaderIs) {
  const nlohmann::json plugIns = Facts();
  ASSERT_THAT(plugIns, SizeIs(2));
  const nlohmann::json& reader = plugIns[0];
  EXPECT_THAT(reader["path"].get<std::string>(), EndsWith("/zel3reader.so"));
  EXPECT_EQ(reader["signature"], "Zel3");
  EXPECT_EQ(reader["entryPoints"], nlohmann::json::parse(R"(["CreateBrick","DllMain"])"));
  EXPECT_EQ(reader["makes"],
            nlohmann::json::parse(R"([{"input":"zel3/Fold","output":"zel3/RDat"}])"));
  EXPECT_THAT(reader["knownInputs"], IsEmpty());
  EXPECT_THAT(reader["knownOutputs"], IsEmpty());
  EXPECT_EQ(reader["asksFor"], nlohmann::json::parse(R"(["Pars"])"));
  // Not the library of a host: the host's functions may be in any library, or in the program
  // itself.
  EXPECT_THAT(reader["needs"].get<std::vector<std::string>>(),
              AllOf(Not(Contains(HasSubstr("brickhost"))), Contains("libQt5Core.so.5")));
}

TEST_F(Inspect, TellsWhatTheReaderAnswers) {
  const nlohmann::json reader = Facts()[0];
  EXPECT_THAT(Sent(reader, "down"),
              ElementsAre(": ntfy NMsg, CRq3,", "ArcR: ArcA,", "CRq3: ntfy IRN3,", "PCR3: RDat,",
                          "Prev: ntfy IRN3,", "His3: ntfy Gist,", "datr: RDat,",
                          "Pla3: ntfy Evt , ntfy rset,"));
  for (const std::string& line : Sent(reader, "up")) EXPECT_THAT(line, EndsWith(":"));
}

TEST_F(Inspect, TellsWhatTheParserIs) {
  const nlohmann::json parser = Facts()[1];
  EXPECT_THAT(parser["path"].get<std::string>(), EndsWith("/zel3parser.so"));
  EXPECT_EQ(parser["signature"], "Pars");
  EXPECT_EQ(parser["entryPoints"], nlohmann::json::parse(R"(["CreateBrick"])"));
  EXPECT_EQ(parser["makes"],
            nlohmann::json::parse(R"([{"input":"zel3/RDat","output":"many/Many"}])"));
  EXPECT_EQ(parser["knownInputs"], nlohmann::json::parse(R"(["zel3/RDat"])"));
  EXPECT_EQ(parser["knownOutputs"], nlohmann::json::parse(R"(["many/Many"])"));
  EXPECT_THAT(parser["asksFor"], IsEmpty());
}

TEST_F(Inspect, TellsWhatTheParserSendsInBothDirections) {
  const nlohmann::json parser = Facts()[1];
  EXPECT_THAT(Sent(parser, "up"),
              ElementsAre(":", "ArcR: ArcR,", "CRq3: CRq3,", "PCR3:", "Prev: Prev,", "His3: His3,",
                          "datr: datr,", "Pla3: Pla3,", "ntfy IRN3: PCR3,", "RDat:"));
  EXPECT_THAT(Sent(parser, "down"),
              ElementsAre(":", "ArcR:", "CRq3:", "PCR3:", "Prev:", "His3:", "datr:", "Pla3:",
                          "ntfy IRN3: ntfy IRN3,",
                          "RDat: TagP, Hdr3, Idx3, vid3, snd3, txt3, Dat3, Tag ,"));
}

TEST_F(Inspect, ShowsTables) {
  const ProgramResult result = Run({"inspect", BuiltFile("zel3parser.so")});
  EXPECT_EQ(result.exitCode, 0);
  const std::vector<std::string> lines = LinesOf(result.out);
  ASSERT_THAT(lines, SizeIs(19));
  EXPECT_EQ(lines[0], BuiltFile("zel3parser.so"));
  EXPECT_EQ(lines[1], "signature      Pars");
  EXPECT_EQ(lines[2], "entry points   CreateBrick");
  EXPECT_EQ(lines[3], "makes          zel3/RDat to many/Many");
  EXPECT_EQ(lines[6], "asks for       -");
  EXPECT_EQ(lines[8], "on         sends up  sends down");
  EXPECT_EQ(lines[9], "creation   -         -");
  EXPECT_EQ(lines[10], "ArcR       ArcR      -");
  EXPECT_EQ(lines[17], "ntfy IRN3  PCR3      ntfy IRN3");
  EXPECT_EQ(lines[18], "RDat       -         TagP, Hdr3, Idx3, vid3, snd3, txt3, Dat3, Tag");
}

TEST_F(Inspect, APlugInOfAnotherNameHasNoSignature) {
  fs::copy_file(BuiltFile("zel3reader.so"), *this / "other.so");
  const nlohmann::json plugIns = Facts({*this / "other.so"});
  ASSERT_THAT(plugIns, SizeIs(1));
  EXPECT_EQ(plugIns[0]["path"], *this / "other.so");
  EXPECT_EQ(plugIns[0]["signature"], "");
  EXPECT_EQ(plugIns[0]["asksFor"], nlohmann::json::parse(R"(["Pars"])"));
  EXPECT_THAT(Sent(plugIns[0], "down"), Contains("CRq3: ntfy IRN3,"));
}

TEST_F(Inspect, WhatIsNotAPlugInFails) {
  WriteFile(*this / "text.so", "no library");
  const struct {
    std::string file;
    const char* reason;
  } cases[] = {
      {*this / "text.so", "cannot load "},
      {*this / "missing.so", "no file at "},
      {Folder(), "no file at "},
      {BuiltFile("libbrickhost.so"), "is not a plug-in: it has no CreateBrick"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.file);
    const ProgramResult result = Run({"inspect", each.file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err,
                AllOf(StartsWith("zel3: "), HasSubstr(each.file), HasSubstr(each.reason)));
    EXPECT_THAT(LinesOf(result.err), SizeIs(1));
  }
}

TEST_F(Inspect, LeavesNothingBehind) {
  const ProgramResult result =
      RunOther("env", {"TMPDIR=" + Folder(), ZEL3_PROGRAM, "inspect", "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(EntryNames(Folder()), IsEmpty());
}
