#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Gaps : public ProgramTest {
 protected:
  // Writes an archive with entries at these index times.
  void Write(const std::string& name, const std::vector<std::uint32_t>& indexTimes) {
    ArchiveWriter writer(*this / name);
    writer.WriteHeader(OneStreamHeader());
    for (const std::uint32_t time : indexTimes) {
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, 5, reinterpret_cast<const unsigned char*>("x"), 1);
    }
    writer.Close();
  }

  // Two files with a gap in the first and one between them.
  void WriteTwo() {
    Write("a.zel3", {1000, 1010, 1020, 1060, 1070, 1120, 1130});
    Write("b.zel3", {1500, 1510});
  }

  ProgramResult Ask(const Arguments& options) {
    Arguments arguments{"gaps", Folder()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  nlohmann::json Json(const Arguments& arguments, int exitCode = 0) {
    Arguments all = arguments;
    all.insert(all.end(), {"--format", "json"});
    const ProgramResult result = Run(all);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return nlohmann::json::parse(result.out);
  }
};

}  // namespace

TEST_F(Gaps, TextListsThemAndSaysHowMuchWasRecorded) {
  WriteTwo();
  const ProgramResult result = Ask({});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre("from                      to                        length   where",
                  "1970-01-01T00:18:00.000Z  1970-01-01T00:18:40.000Z  0:00:40  in a.zel3",
                  "1970-01-01T00:19:00.000Z  1970-01-01T00:25:00.000Z  0:06:00  between a.zel3 "
                  "and b.zel3",
                  "0:02:00 of 0:08:40 recorded (23.0 %), 2 gaps, the longest 0:06:00"));
}

TEST_F(Gaps, WithoutOneTheListIsEmptyAndTextSaysSo) {
  Write("a.zel3", {1000, 1010, 1020});
  const ProgramResult text = Ask({});
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_EQ(text.out,
            "nothing is missing from 1970-01-01T00:16:40.000Z to 1970-01-01T00:17:10.000Z\n");
  EXPECT_EQ(
      Ask({"--format", "json"}).out,
      R"({"from":1000000,"to":1030000,"recorded":30000,"longest":0,"shorterGaps":0,"gaps":[]})"
      "\n");
  EXPECT_EQ(Ask({"--format", "jsonl"}).out, "");
  EXPECT_EQ(Ask({"--format", "csv"}).out, "from,to,length,file,nextFile\n");
}

TEST_F(Gaps, OfARangeAreAlsoBeforeAndAfterAllFiles) {
  WriteTwo();
  EXPECT_THAT(LinesOf(Ask({"900000", "1600000", "--format", "csv"}).out),
              ElementsAre("from,to,length,file,nextFile", "900000,1000000,100000,,a.zel3",
                          "1080000,1120000,40000,a.zel3,a.zel3",
                          "1140000,1500000,360000,a.zel3,b.zel3", "1520000,1600000,80000,b.zel3,"));
  EXPECT_THAT(
      LinesOf(Ask({"900000", "1600000", "--format", "jsonl"}).out),
      ElementsAre(
          R"({"from":900000,"to":1000000,"length":100000,"file":null,"nextFile":"a.zel3"})",
          R"({"from":1080000,"to":1120000,"length":40000,"file":"a.zel3","nextFile":"a.zel3"})",
          R"({"from":1140000,"to":1500000,"length":360000,"file":"a.zel3","nextFile":"b.zel3"})",
          R"({"from":1520000,"to":1600000,"length":80000,"file":"b.zel3","nextFile":null})"));
}

TEST_F(Gaps, OfARangeWithAnOpenEnd) {
  WriteTwo();
  EXPECT_EQ(Json({"gaps", Folder(), "--since", "1200000"})["gaps"].size(), 1U);
  const nlohmann::json json = Json({"gaps", Folder(), "--until", "1100000", "--for", "200"});
  EXPECT_EQ(json["from"], 900000);
  EXPECT_EQ(json["gaps"].size(), 2U);
  const ProgramResult result = Ask({"--since", "1520000", "--format", "csv"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.out, "from,to,length,file,nextFile\n");
}

TEST_F(Gaps, WhereNothingWasRecordedAllIsOne) {
  WriteTwo();
  const ProgramResult result = Ask({"1200000", "1300500", "--time-format", "iso"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("100.500 s  between a.zel3 and b.zel3"));
  EXPECT_THAT(result.out, HasSubstr("0:00:00 of 100.500 s recorded (0.0 %), 1 gap,"));
}

TEST_F(Gaps, ShorterOnesAreCountedOnly) {
  WriteTwo();
  const nlohmann::json json = Json({"gaps", Folder(), "--longer-than", "40"});
  ASSERT_EQ(json["gaps"].size(), 1U);
  EXPECT_EQ(json["gaps"][0]["length"], 360000);
  EXPECT_EQ(json["shorterGaps"], 1);
  EXPECT_EQ(Json({"gaps", Folder(), "--longer-than", "39"})["shorterGaps"], 0);
  EXPECT_EQ(Json({"gaps", Folder(), "--longer-than", "1d"})["longest"], 360000);
  EXPECT_THAT(Ask({"--longer-than", "1h"}).out,
              HasSubstr("2 gaps, the longest 0:06:00; 2 of them are not longer than 1:00:00\n"));
}

// All verbs have the same rule for what a gap is.
TEST_F(Gaps, AreThoseOfTheOtherVerbs) {
  const struct {
    const char* what;
    std::vector<std::vector<std::uint32_t>> files;
  } cases[] = {
      {"none", {{1000, 1010, 1020}, {1030, 1040}}},
      {"a late file", {{1000, 1010, 1020}, {1041, 1051}}},
      {"a file in time", {{1000, 1010, 1020}, {1040, 1050}}},
      {"four steps and five", {{1000, 1010, 1020, 1060, 1070, 1120, 1130}}},
      {"in a file and after it", {{1000, 1010, 1020, 1100}, {1200, 1201}, {1205}}},
      {"single entries", {{1000}, {1002}, {1005}, {1100, 1110}}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.what);
    ASSERT_EQ(RunOther("sh", {"-c", "rm -f \"$1\"/*", "sh", Folder()}).exitCode, 0);
    char name = 'a';
    for (const auto& times : each.files) Write(std::string(1, name++) + ".zel3", times);

    std::vector<std::uint64_t> ends;
    std::vector<bool> missing(220);  // by second
    const nlohmann::json gaps = Json({"gaps", Folder(), "990000", "1210000"});
    for (const nlohmann::json& gap : gaps["gaps"]) {
      if (!gap["file"].is_null() && !gap["nextFile"].is_null()) ends.push_back(gap["to"]);
      for (std::uint64_t time = gap["from"]; time < gap["to"]; time += 1000)
        missing[(time - 990000) / 1000] = true;
    }

    std::vector<std::uint64_t> endsOfRead;
    const auto read = Json({"read", Folder(), "990000", "1210000", "-o", *this / "out"})["gaps"];
    for (const nlohmann::json& gap : read) endsOfRead.push_back(gap["to"]);
    EXPECT_EQ(endsOfRead, ends);

    std::vector<std::uint64_t> endsOfDoctor;
    const ProgramResult doctor = Run({"doctor", Folder(), "--format", "json"});
    const nlohmann::json diagnosis = nlohmann::json::parse(doctor.out);
    for (const nlohmann::json& finding : diagnosis["findings"]) {
      if (finding["kind"] == "gap") endsOfDoctor.push_back(finding["to"]);
    }
    std::sort(endsOfDoctor.begin(), endsOfDoctor.end());
    EXPECT_EQ(endsOfDoctor, ends);

    const auto bins =
        Json({"activity", Folder(), "990000", "1210000", "--stream", "1", "--bins", "220"})["bins"];
    ASSERT_EQ(bins.size(), missing.size());
    for (std::size_t second = 0; second < missing.size(); ++second) {
      EXPECT_EQ(bins[second]["recorded"], !missing[second]) << second;
    }
  }
}

TEST_F(Gaps, WhatIsLeftOutMayHideRecordings) {
  WriteTwo();
  WriteFile(*this / "broken.zel3", "no archive, though long enough");
  const ProgramResult result = Ask({});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("broken.zel3 is not an archive"));
  EXPECT_THAT(result.out, HasSubstr("2 gaps"));
}

TEST_F(Gaps, WhereBytesAreDamagedNothingIsSeenToBeMissing) {
  Write("a.zel3", {1000, 1010, 1020, 1030});
  Bytes bytes = ReadFile(*this / "a.zel3");
  bytes.insert(bytes.end(), 200, 0x77);
  WriteFile(*this / "a.zel3", bytes);
  const ProgramResult result = Ask({});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("a.zel3"));
  EXPECT_THAT(result.out, HasSubstr("nothing was found missing"));
}

TEST_F(Gaps, NoIndexBuildsNoneAndSaysWhatIsNotKnown) {
  WriteTwo();
  ASSERT_EQ(Run({"index", *this / "a.zel3"}).exitCode, 0);
  const FolderSnapshot before = SnapshotOf(Folder());
  const ProgramResult result = Ask({"1000000", "1520000", "--no-index", "--format", "csv"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err, "zel3: b.zel3 has no index, and none is built; it is left out\n");
  EXPECT_THAT(LinesOf(result.out),
              ElementsAre("from,to,length,file,nextFile", "1080000,1120000,40000,a.zel3,a.zel3",
                          "1140000,1520000,380000,a.zel3,"));
  EXPECT_EQ(SnapshotOf(Folder()), before);

  const ProgramResult nothing = Run({"gaps", *this / "b.zel3", "--no-index", "--format", "json"});
  EXPECT_EQ(nothing.exitCode, 3);
  EXPECT_EQ(nothing.out,
            R"({"from":null,"to":null,"recorded":null,"longest":null,"shorterGaps":0,"gaps":[]})"
            "\n");
}

TEST_F(Gaps, NamesAreShownSafely) {
  Write("a\x1b[31m.zel3", {1000, 1010, 1020, 1100});
  EXPECT_THAT(Ask({}).out, HasSubstr("in a\\u001b[31m.zel3"));
  EXPECT_THAT(Ask({"--format", "csv"}).out, HasSubstr("a\\u001b[31m.zel3"));
}

TEST_F(Gaps, WithoutAnArchiveThereIsAFailure) {
  EXPECT_EQ(Ask({}).exitCode, 1);
  WriteFile(*this / "a.zel3", "");
  EXPECT_EQ(Ask({}).exitCode, 1);
}

TEST_F(Gaps, BadArgumentsAreUsageErrors) {
  for (const Arguments& arguments :
       {Arguments{"1"}, Arguments{"2", "2"}, Arguments{"3", "2"}, Arguments{"--longer-than", "1w"},
        Arguments{"--format", "xml"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(Ask(arguments).exitCode, 2);
  }
}
