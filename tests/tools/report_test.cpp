#include <gmock/gmock.h>

#include <QCryptographicHash>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

namespace fs = std::filesystem;

std::string Sha256(const std::string& text) {
  const QByteArray bytes(text.data(), static_cast<int>(text.size()));
  return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toBase64().constData();
}

// What is between two texts of a page.
std::string Between(const std::string& page, const std::string& before, const std::string& after) {
  const std::size_t begin = page.find(before);
  if (begin == std::string::npos) return "";
  const std::size_t start = begin + before.size();
  return page.substr(start, page.find(after, start) - start);
}

// The cells of the rows of a table, each row on one line with "|" between its cells.
std::vector<std::string> RowsOf(const std::string& page, const std::string& section) {
  const std::string body = Between(Between(page, "<section id=\"" + section + "\"", "</section>"),
                                   "<tbody>", "</tbody>");
  std::vector<std::string> rows;
  const std::regex row("<tr>(.*?)</tr>");
  const std::regex betweenCells("</td><td[^>]*>");
  for (std::sregex_iterator match(body.begin(), body.end(), row), end; match != end; ++match) {
    const std::string cells = std::regex_replace((*match)[1].str(), betweenCells, "|");
    rows.push_back(std::regex_replace(cells, std::regex("<[^>]*>"), ""));
  }
  return rows;
}

// The findings, each on one line: "severity|kind|cells".
std::vector<std::string> FindingsOf(const std::string& page) {
  std::vector<std::string> findings;
  const std::regex cause(
      "<details class=\"cause\"[^>]*><summary><span class=\"(\\w+)\">[^<]*</span> <b>([^<]*)</b>");
  for (std::sregex_iterator match(page.begin(), page.end(), cause), end; match != end; ++match) {
    const std::string rest = page.substr(static_cast<std::size_t>(match->position()));
    const std::string part =
        "<section id=\"cause\"" + rest.substr(0, rest.find("</details>")) + "</section>";
    for (const std::string& row : RowsOf(part, "cause"))
      findings.push_back((*match)[1].str() + "|" + (*match)[2].str() + "|" + row);
  }
  return findings;
}

// What the page opens with.
std::string JudgementOf(const std::string& page) {
  return Between(page, "<p class=\"judgement\">", "</p>");
}

class Report : public ProgramTest {
 protected:
  // The page about a folder. Its data, as the script of the page sees it, goes into mData.
  std::string PageOf(const std::string& source, const Arguments& options = {}) {
    Arguments arguments{"report", source, "-o", "-"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mResult = Run(arguments);
    const std::string data =
        Between(mResult.out, "<script type=\"application/json\" id=\"report\">", "</script>");
    mData = data.empty() ? nlohmann::json() : nlohmann::json::parse(data);
    return mResult.out;
  }

  // An archive with entries at these index times; `streams` have data of level 3 in each, and each
  // entry has an event with this text.
  void Write(const std::string& path, const std::vector<std::uint32_t>& times,
             const std::vector<std::uint8_t>& streams, const std::string& eventText = "") {
    ArchiveHeader header;
    for (const std::uint8_t id : streams)
      header.streams.push_back({id, 1, "video", "camera " + std::to_string(id), "h264"});
    ArchiveWriter writer(path);
    writer.WriteHeader(header);
    for (const std::uint32_t time : times) {
      writer.WriteIndex({time, 0, 0});
      for (const std::uint8_t id : streams) writer.WriteData(id, 3, Payload("picture"), 7);
      if (!eventText.empty())
        writer.WriteData(0xFA, 0, Payload(eventText), static_cast<std::uint16_t>(eventText.size()));
    }
    writer.Close();
  }

  // 52 archives with so many gaps each; there is one more between two of them.
  void WriteFilesWithGaps(const std::string& folder, std::uint32_t gaps) {
    for (std::uint32_t file = 0; file < 52; ++file) {
      const std::uint32_t start = 1000 + file * 100000;
      std::vector<std::uint32_t> times;
      for (std::uint32_t i = 0; i < 10; ++i) times.push_back(start + i);
      for (std::uint32_t i = 1; i <= gaps; ++i) times.push_back(start + 9 + i * 10);
      Write(folder + "/" + std::to_string(100 + file) + ".zel3", times, {1});
    }
  }

  // The states of a stream, one for each stretch: "recorded 0-60" with index times.
  std::vector<std::string> StretchesOf(const nlohmann::json& stream) const {
    const std::uint64_t first = mData["firstBin"].get<std::uint64_t>() / 1000;
    const std::uint64_t width = mData["binWidths"][0].get<std::uint64_t>() / 1000;
    const std::string levels = stream["levels"];
    std::vector<std::string> lines;
    for (std::size_t start = 0, bin = 0; bin < levels.size(); start = bin) {
      while (bin < levels.size() && StateOf(levels[bin]) == StateOf(levels[start])) ++bin;
      lines.push_back(std::string(StateOf(levels[start])) + " " +
                      std::to_string(first + start * width) + "-" +
                      std::to_string(first + bin * width));
    }
    return lines;
  }

  static const char* StateOf(char level) {
    return level == '-' ? "missing" : level == '?' ? "not-indexed" : "recorded";
  }

  static int LevelOf(char level) {
    static const std::string levels =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz+/";
    return level == '-' || level == '?' ? 0 : static_cast<int>(levels.find(level));
  }

  std::string NewFolder(const std::string& name) {
    const std::string folder = *this / name;
    fs::create_directory(folder);
    return folder;
  }

  static const unsigned char* Payload(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
  }

  ProgramResult mResult;
  nlohmann::json mData;
};

class ReportOfSample : public Report {
 protected:
  ReportOfSample() {
    mFolder = *this / "archives";
    mTruth = WriteScenario(mFolder, SampleScenario());
  }

  std::string mFolder;
  GroundTruth mTruth;
};

}  // namespace

TEST_F(ReportOfSample, TellsFilesGapsStreamsAndEvents) {
  const std::string page = PageOf(mFolder);
  EXPECT_EQ(mResult.exitCode, 0) << mResult.err;
  EXPECT_EQ(mData["from"], SampleTime(0));
  EXPECT_EQ(mData["to"], SampleTime(191)) << "the second of the last entry is part of it";
  ASSERT_EQ(mData["files"].size(), 3U);
  EXPECT_EQ(mData["files"][1]["from"], SampleTime(90));
  EXPECT_EQ(mData["files"][1]["to"], SampleTime(140));
  EXPECT_EQ(mData["files"][1]["indexed"], true);
  ASSERT_EQ(mData["gaps"].size(), 1U);
  EXPECT_EQ(mData["gaps"][0]["from"], SampleTime(60)) << "the last entry lasts as long as others";
  EXPECT_EQ(mData["gaps"][0]["to"], SampleTime(90));
  EXPECT_EQ(RowsOf(page, "files").size(), 3U);
  EXPECT_EQ(RowsOf(page, "gaps").size(), 1U);
  EXPECT_EQ(RowsOf(page, "streams").size(), mData["streams"].size());
  EXPECT_EQ(RowsOf(page, "events").size(), mData["events"].size());
}

TEST_F(ReportOfSample, LevelsAreTheAnswersOfTheReader) {
  PageOf(mFolder);
  ASSERT_FALSE(mData["streams"].empty());
  for (const nlohmann::json& stream : mData["streams"]) {
    SCOPED_TRACE(stream["id"]);
    const std::string levels = stream["levels"];
    const std::size_t bins = levels.size();
    const std::uint64_t from = mData["firstBin"];
    const std::uint64_t to = from + bins * mData["binWidths"][0].get<std::uint64_t>();
    const ProgramResult answer =
        Run({"activity", mFolder, "--stream", stream["id"].dump(), "--bins", std::to_string(bins),
             std::to_string(from), std::to_string(to), "--format", "json"});
    const nlohmann::json expected = nlohmann::json::parse(answer.out);
    ASSERT_EQ(expected["bins"].size(), bins);
    for (std::size_t i = 0; i < bins; ++i)
      EXPECT_EQ(LevelOf(levels[i]), expected["bins"][i]["level"]);
  }
}

TEST_F(ReportOfSample, ARangeIsShownAlone) {
  const std::string from = std::to_string(SampleTime(100));
  PageOf(mFolder, {from, std::to_string(SampleTime(130))});
  EXPECT_EQ(mData["from"], SampleTime(100));
  EXPECT_EQ(mData["to"], SampleTime(130));
  EXPECT_EQ(mData["streams"][0]["levels"].get<std::string>().size(), 3U);
  EXPECT_THAT(mData["gaps"], IsEmpty());

  PageOf(mFolder, {std::to_string(SampleTime(500)), std::to_string(SampleTime(600))});
  EXPECT_EQ(mResult.exitCode, 4);
  EXPECT_EQ(mResult.out, "");
  PageOf(mFolder, {from, from});
  EXPECT_EQ(mResult.exitCode, 2);
}

TEST_F(ReportOfSample, ARangeHasItsFilesAndFindingsOnly) {
  const std::string page =
      PageOf(mFolder, {std::to_string(SampleTime(85)), std::to_string(SampleTime(140))});
  EXPECT_EQ(mData["files"].size(), 1U);
  EXPECT_EQ(RowsOf(page, "files").size(), 1U);
  EXPECT_EQ(FindingsOf(page).size(), 1U) << "the gap that ends in the range";
  EXPECT_EQ(FindingsOf(
                PageOf(mFolder, {std::to_string(SampleTime(100)), std::to_string(SampleTime(140))}))
                .size(),
            0U);
}

TEST_F(ReportOfSample, WhereNoCacheCanBeWrittenFilesAreIndexedAllTheSame) {
  const ReadOnlyFolder archives(mFolder);
  Start({"report", mFolder, "-o", "-"}, WithoutPlaceForIndexes);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, Not(HasSubstr("class=\"not-indexed\"")));
  EXPECT_THAT(result.out, Not(HasSubstr("\"indexed\":false")));
}

TEST_F(ReportOfSample, AFolderIsNamedWithAndWithoutASlash) {
  EXPECT_THAT(PageOf(mFolder + "/"), HasSubstr("<h1>archives</h1>"));
}

TEST_F(ReportOfSample, TimesAreDatesUnlessAskedForAsIntegers) {
  EXPECT_THAT(PageOf(mFolder), HasSubstr(">2024-05-01T00:01:30.000Z</td>"));
  EXPECT_EQ(mData["timeFormat"], "iso");
  const std::string page = PageOf(mFolder, {"--time-format", "int"});
  EXPECT_THAT(page, HasSubstr(">" + std::to_string(SampleTime(90)) + "</td>"));
  EXPECT_THAT(page, Not(HasSubstr("2024-05-01T")));
  EXPECT_EQ(mData["timeFormat"], "integer");
}

TEST_F(ReportOfSample, TimesAreInTheZoneThatIsAskedFor) {
  EXPECT_THAT(PageOf(mFolder, {"--time-zone", "Asia/Kathmandu"}),
              HasSubstr(">2024-05-01T05:46:30.000+05:45</td>"));
  EXPECT_EQ(mData["offsets"], nlohmann::json({{0, 20700000}}));
  PageOf(mFolder);
  EXPECT_THAT(mData["offsets"], IsEmpty());
}

TEST_F(Report, ChartsFollowClocksThatAreSet) {
  const std::string folder = NewFolder("spring");
  // From the evening before clocks in Berlin are set forward.
  Write(folder + "/a.zel3", {1711832400, 1711850000}, {1});
  PageOf(folder, {"--time-zone", "Europe/Berlin"});
  EXPECT_EQ(mData["offsets"],
            nlohmann::json({{0, 3600000}, {std::uint64_t{1711846800000}, 7200000}}));
}

TEST_F(ReportOfSample, IsTheSameEachTime) {
  EXPECT_EQ(PageOf(mFolder), PageOf(mFolder));
}

TEST_F(ReportOfSample, AllowsOnlyItsOwnScriptAndStyle) {
  const std::string page = PageOf(mFolder);
  EXPECT_THAT(page,
              HasSubstr("content=\"default-src 'none'; script-src 'sha256-" +
                        Sha256(Between(page, "<script>", "</script>")) + "'; style-src 'sha256-" +
                        Sha256(Between(page, "<style>", "</style>")) +
                        "'; base-uri 'none'; form-action 'none'\""));
  EXPECT_THAT(page, AllOf(Not(HasSubstr(" src=")), Not(HasSubstr(" href=")),
                          Not(HasSubstr("@import")), Not(HasSubstr("url("))));
}

TEST_F(ReportOfSample, IsNeverWrittenOverAnArchive) {
  const std::string archive = SampleFile(mFolder, mTruth, 1);
  const auto size = fs::file_size(archive);
  const ProgramResult result = Run({"report", mFolder, "-o", archive});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "zel3: the output is an archive of the source\n");
  EXPECT_EQ(fs::file_size(archive), size);
}

TEST_F(ReportOfSample, NeedsAPlaceToWriteTo) {
  EXPECT_EQ(Run({"report", mFolder}).exitCode, 2);
  EXPECT_EQ(Run({"report", mFolder, "-o", *this / "no/such/folder.html"}).exitCode, 1);
  ASSERT_EQ(Run({"report", mFolder, "-o", *this / "page.html"}).exitCode, 0);
  EXPECT_GT(fs::file_size(*this / "page.html"), 50000U);
}

TEST_F(Report, BinsAreOfAWidthThatPeopleCountInAndNoFinerThanEntries) {
  const std::string folder = *this / "days";
  ASSERT_EQ(Run({"make", folder, "--length", "3d", "--files", "2", "--interval", "7m", "--payload",
                 "40", "--start", "2024-05-01T00:00:05Z"})
                .exitCode,
            0);
  PageOf(folder);
  EXPECT_EQ(mData["binWidths"][0], 300000);
  EXPECT_EQ(mData["binWidths"][1], 600000) << "wider ones join those";
  EXPECT_EQ(mData["firstBin"], 1714521600000U) << "2024-05-01T00:00:00Z";
  EXPECT_EQ(mData["streams"][0]["levels"].get<std::string>().size(), 864U)
      << "up to the last entry, 71:56:06";
}

TEST_F(Report, BinsAreWiderWhereThereWouldBeVeryMany) {
  const std::string folder = NewFolder("years");
  std::vector<std::uint32_t> times;
  for (std::uint32_t i = 0; i < 10; ++i) times.push_back(1000 + i);
  times.push_back(1000 + 149999);
  Write(folder + "/a.zel3", times, {1});
  PageOf(folder);
  EXPECT_EQ(mData["binWidths"][0], 1000);
  times.push_back(1000 + 150000);
  Write(folder + "/a.zel3", times, {1});
  PageOf(folder);
  EXPECT_EQ(mData["binWidths"][0], 2000);
}

TEST_F(Report, QuietMissingAndNotIndexedDiffer) {
  const std::string folder = NewFolder("states");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1, 2});
  Write(folder + "/b.zel3", {1004, 1005, 1006, 1007}, {1});
  // The parser does not know older files.
  Write(folder + "/c.zel", {1008, 1009}, {1});
  Write(folder + "/d.zel3", {1030, 1031}, {1});
  const std::string page = PageOf(folder);
  EXPECT_EQ(mResult.exitCode, 3) << "a file is left out";
  ASSERT_EQ(mData["streams"].size(), 2U);
  EXPECT_THAT(StretchesOf(mData["streams"][0]),
              ElementsAre("recorded 1000-1008", "not-indexed 1008-1010", "missing 1010-1030",
                          "recorded 1030-1032"));
  EXPECT_THAT(StretchesOf(mData["streams"][1]),
              ElementsAre("recorded 1000-1004", "missing 1004-1032"))
      << "the other files leave the stream out";
  EXPECT_EQ(mData["streams"][1]["name"], "camera 2");
  EXPECT_THAT(RowsOf(page, "streams"),
              ElementsAre("1|camera 1|0:00:10|0:00:20|0:00:02|6|1970-01-01T00:16:40.000Z",
                          "2|camera 2|0:00:04|0:00:28|0:00:00|6|1970-01-01T00:16:40.000Z"));
  EXPECT_THAT(RowsOf(page, "activity"),
              AllOf(Contains("1970-01-01T00:16:40.000Z|6|6"),
                    Contains("1970-01-01T00:16:45.000Z|6|missing"),
                    Contains("1970-01-01T00:16:51.000Z|missing|missing"),
                    Contains("1970-01-01T00:16:48.000Z|not indexed|missing")));
}

TEST_F(Report, AFileThatOthersLieWithinDoesNotReachPastThem) {
  const std::string folder = NewFolder("overlap");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007}, {1});
  Write(folder + "/b.zel3", {1002, 1003}, {2});
  Write(folder + "/c.zel3", {1008, 1009}, {1});
  PageOf(folder);
  EXPECT_THAT(StretchesOf(mData["streams"][1]),
              ElementsAre("missing 1000-1002", "recorded 1002-1004", "missing 1004-1010"));
}

TEST_F(Report, AFileThatCannotBeIndexedLeavesTheOthers) {
  const std::string folder = NewFolder("long");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1});
  // The parser does not know older files.
  Write(folder + "/b.zel", {1004, 1005, 1006}, {1});
  Write(folder + "/z.zel3", {1007, 1008, 1009}, {1});
  const std::string page = PageOf(folder);
  EXPECT_EQ(mResult.exitCode, 3) << mResult.err;
  EXPECT_THAT(page, HasSubstr("<p class=\"warning\">1 file not indexed, 1 error, "));
  EXPECT_THAT(StretchesOf(mData["streams"][0]),
              ElementsAre("recorded 1000-1004", "not-indexed 1004-1007", "recorded 1007-1010"));
}

TEST_F(Report, LongTextsOfEventsAreCutBetweenCharacters) {
  const std::string folder = NewFolder("texts");
  Write(folder + "/a.zel3", {1000}, {1}, std::string(199, 'x') + "\xC3\xA9 and more");
  PageOf(folder);
  EXPECT_THAT(RowsOf(mResult.out, "events"),
              ElementsAre("1970-01-01T00:16:40.000Z|note|" + std::string(199, 'x') + "…"));
}

TEST_F(Report, OfManyEventsTheFirstAreListedAndAllAreDrawn) {
  const std::string folder = NewFolder("events");
  std::vector<std::uint32_t> times;
  for (std::uint32_t time = 0; time < 5003; ++time) times.push_back(1000000 + time);
  Write(folder + "/a.zel3", times, {1}, "again");
  const std::string page = PageOf(folder);
  EXPECT_EQ(mData["events"].size(), 5000U);
  EXPECT_EQ(RowsOf(page, "events").size(), 5000U);
  EXPECT_EQ(mData["eventTypes"], nlohmann::json({"note"}));
  EXPECT_EQ(mData["laterEventWidth"], 5000);
  EXPECT_EQ(mData["laterEvents"], nlohmann::json::parse("[[1005000000, 0, 3]]"))
      << "the bin and the type of the others, and how many they are";
  EXPECT_THAT(page, AllOf(HasSubstr(">Events: 5000 of 5003</h2>"), HasSubstr("5003 events")));
}

TEST_F(Report, GapsBetweenFilesAreToldHoweverManyThereAreWithinOne) {
  const std::string folder = NewFolder("gaps");
  Write(folder + "/a.zel3", {1, 2}, {1});
  std::vector<std::uint32_t> times;
  for (std::uint32_t i = 0; i < 10; ++i) times.push_back(1000 + i);
  for (std::uint32_t i = 1; i <= 150; ++i) times.push_back(1009 + i * 10);
  Write(folder + "/b.zel3", times, {1});
  const std::string page = PageOf(folder);
  EXPECT_EQ(mData["gaps"].size(), 151U);
  EXPECT_EQ(mData["gaps"][0]["from"], 3000);
  EXPECT_THAT(RowsOf(page, "gaps")[0], EndsWith("|0:16:37|between a.zel3 and b.zel3"));
  EXPECT_THAT(RowsOf(page, "gaps")[1], EndsWith("|0:00:09|in b.zel3"));
  EXPECT_THAT(JudgementOf(page), HasSubstr("151 gaps"));
}

TEST_F(Report, WhatIsWrongCountsHoweverLateItIsFound) {
  const std::string folder = NewFolder("late");
  // A hundred gaps of a file are findings of their own, one more is summed up.
  WriteFilesWithGaps(folder, 101);
  std::ofstream(folder + "/999.zel3") << "short";
  const std::string page = PageOf(folder);
  EXPECT_EQ(mResult.exitCode, 3);
  EXPECT_EQ(FindingsOf(page).size(), 5000U);
  EXPECT_THAT(FindingsOf(page), Contains(HasSubstr("too-small")));
  EXPECT_THAT(JudgementOf(page), HasSubstr("1 file without an entry"));
  EXPECT_THAT(page, HasSubstr("1 file not indexed, 2 errors, 0 warnings"));
}

TEST_F(Report, CausesAreCountedAsAWholeWhereFindingsAreNot) {
  const std::string folder = NewFolder("many");
  WriteFilesWithGaps(folder, 99);
  const std::string page = PageOf(folder);
  EXPECT_EQ(FindingsOf(page).size(), 5000U);
  EXPECT_THAT(page, HasSubstr("Findings: 5000 of 5199"));
  EXPECT_THAT(page, HasSubstr("<b>gap</b>: 5199 in 52 files"));
}

TEST_F(Report, ALongTimeInDoubtIsMarkedInTheCalendar) {
  const std::string nothing =
      "days<td class=\"number\">0.0 %<td class=\"number\">0"
      "<td colspan=\"24\" class=\"r0\">– nothing recorded";
  const std::string folder = NewFolder("long");
  const std::uint32_t start = 1714521600;
  const std::uint32_t end = start + 100 * 86400;
  Write(folder + "/a.zel3", {start, start + 1}, {1});
  Write(folder + "/z.zel3", {end, end + 1}, {1});
  EXPECT_THAT(PageOf(folder), HasSubstr(nothing + "</tr>"));
  // The parser does not know the older suffix.
  Write(folder + "/b.zel", {start + 10, end - 10}, {1});
  EXPECT_THAT(PageOf(folder), HasSubstr(nothing + " <b class=\"warning\">!</b></tr>"));
}

TEST_F(Report, TimesThatRunBackwardsAreAStretch) {
  const std::string folder = NewFolder("backwards");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 990, 991}, {1});
  PageOf(folder);
  ASSERT_EQ(mData["findings"].size(), 1U);
  EXPECT_EQ(mData["findings"][0]["kind"], "backwards");
  EXPECT_EQ(mData["findings"][0]["from"], 990000);
  EXPECT_EQ(mData["findings"][0]["to"], 1002000);
}

TEST_F(Report, TextsFromArchivesAreOnlyTexts) {
  const std::string folder = NewFolder("<b>&\"");
  Write(folder + "/<i>.zel3", {1000, 1001}, {1}, "</script><img src=x onerror=alert(1)>\x1b\xff");
  const std::string page = PageOf(folder);
  EXPECT_THAT(page, AllOf(Not(HasSubstr("<img")), Not(HasSubstr("<i>.zel3")), Not(HasSubstr("<b>")),
                          HasSubstr("<title>&lt;b&gt;&amp;&quot;</title>")));
  EXPECT_THAT(RowsOf(page, "events"),
              Contains("1970-01-01T00:16:40.000Z|note|&lt;/script&gt;&lt;img src=x "
                       "onerror=alert(1)&gt;\\u001b\xEF\xBF\xBD"));
}

TEST_F(Report, TellsWhatDoctorFinds) {
  const std::string folder = NewFolder("damaged");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1});
  std::fstream(folder + "/a.zel3", std::ios::in | std::ios::out | std::ios::binary).seekp(120)
      << "\x07\x07\x07\x07";
  std::ofstream(folder + "/b.zel3") << "short";
  const std::string page = PageOf(folder);
  EXPECT_EQ(mResult.exitCode, 3);
  const ProgramResult doctor = Run({"doctor", folder, "--format", "json"});
  const nlohmann::json found = nlohmann::json::parse(doctor.out)["findings"];
  const std::vector<std::string> rows = FindingsOf(page);
  ASSERT_EQ(rows.size(), found.size());
  for (const nlohmann::json& finding : found) {
    EXPECT_THAT(rows, Contains(HasSubstr(finding["severity"].get<std::string>() + "|" +
                                         finding["kind"].get<std::string>() + "|" +
                                         finding["file"].get<std::string>() + "|")));
    EXPECT_THAT(page, HasSubstr(finding["remedy"].get<std::string>()));
  }
  EXPECT_THAT(rows, Contains(HasSubstr("error|too-small|b.zel3")));
}

TEST_F(Report, OpensWithOneLineOfJudgement) {
  const std::string folder = NewFolder("judged");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1});
  EXPECT_EQ(JudgementOf(PageOf(folder)), "1 file, all of 0:00:04 recorded, no gap, no damage");
  EXPECT_EQ(JudgementOf(PageOf(folder, {"--time-format", "int"})),
            "1 file, all of the time recorded, no gap, no damage");

  Write(folder + "/b.zel3", {1012, 1013, 1014, 1015}, {1});
  EXPECT_EQ(JudgementOf(PageOf(folder)), "2 files, 50.0 % of 0:00:16 recorded, 1 gap, no damage");
  EXPECT_EQ(JudgementOf(PageOf(folder, {"1002000", "1022000"})),
            "2 files, 30.0 % of 0:00:20 recorded, 2 gaps, no damage")
      << "before and after the second file";

  Write(folder + "/c.zel3", {1000 + 864000}, {1});
  EXPECT_EQ(JudgementOf(PageOf(folder)),
            "3 files, less than 0.1 % of 10 days recorded, 2 gaps, no damage");
}

TEST_F(Report, TheJudgementSaysWhatIsNotKnown) {
  const std::string folder = NewFolder("doubted");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1});
  // The parser does not know older files.
  Write(folder + "/b.zel", {1004, 1005, 1006}, {1});
  EXPECT_EQ(JudgementOf(PageOf(folder)),
            "2 files, all of 0:00:04 known to be recorded, no gap found, no damage, "
            "1 file not indexed");
  fs::remove(folder + "/b.zel");

  std::fstream(folder + "/a.zel3", std::ios::in | std::ios::out | std::ios::binary).seekp(90)
      << std::string(30, '\x07');
  EXPECT_EQ(JudgementOf(PageOf(folder)),
            "1 file, all of 0:00:03 known to be recorded, no gap found, 1 file damaged");
}

TEST_F(Report, TheJudgementDoubtsWrongTimes) {
  const std::string folder = NewFolder("wrong");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 900000, 1004, 1005}, {1});
  EXPECT_THAT(JudgementOf(PageOf(folder)),
              AllOf(HasSubstr("known to be recorded"), HasSubstr("no damage, 1 warning")));
}

TEST_F(Report, ADayIsCalledOne) {
  const std::string folder = *this / "day";
  ASSERT_EQ(Run({"make", folder, "--length", "1d", "--files", "2", "--interval", "5m", "--payload",
                 "40", "--gap", "0:1h"})
                .exitCode,
            0);
  EXPECT_EQ(JudgementOf(PageOf(folder)), "2 files, 95.8 % of the day recorded, 1 gap, no damage");
}

TEST_F(Report, TheOverviewNeedsNoScript) {
  const std::string folder = NewFolder("overview");
  Write(folder + "/a.zel3", {1000, 1001, 1002, 1003}, {1, 2}, "again");
  Write(folder + "/b.zel3", {1012, 1013, 1014, 1015}, {1});
  const std::string svg = Between(PageOf(folder), "<svg ", "</svg>");
  EXPECT_THAT(
      svg, AllOf(HasSubstr("50.0 % of 0:00:16 recorded"), HasSubstr(">Events</text>"),
                 HasSubstr(">Stream 1: camera 1</text>"), HasSubstr(">Stream 2: camera 2</text>")));
  EXPECT_THAT(svg, AllOf(HasSubstr("class=\"file\" d=\"M190.0"), HasSubstr("class=\"gone\""),
                         HasSubstr("class=\"recorded-track\""),
                         HasSubstr("class=\"activity-bars\""), Not(HasSubstr("style="))));
}

TEST_F(Report, HasNoTimelineWhereNoFileHoldsAnEntry) {
  const std::string folder = NewFolder("empty");
  std::ofstream(folder + "/a.zel3") << "no archive at all, but long enough";
  const std::string page = PageOf(folder);
  EXPECT_EQ(mResult.exitCode, 3);
  EXPECT_THAT(FindingsOf(page), Contains(HasSubstr("error|no-header|a.zel3")));
  EXPECT_EQ(
      JudgementOf(page),
      "1 file, nothing recorded, 1 file damaged, 1 file without an entry, 1 file not indexed, "
      "1 error");
  EXPECT_THAT(page, Not(HasSubstr("<svg")));
  EXPECT_EQ(mData["from"], mData["to"]);
  EXPECT_EQ(Run({"report", NewFolder("nothing"), "-o", "-"}).exitCode, 1);
}
