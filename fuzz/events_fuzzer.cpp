// The events of any archive: those that a parser finds in it, also where its index keeps them.
// Printed in each format they are fit for a terminal, no cell is a formula, and whoever reads the
// output gets the same events.

#include <algorithm>

#include "archive/event_types.h"
#include "archive/recorded_events.h"
#include "archive_input.h"
#include "captured_output.h"
#include "exact_cache.h"
#include "fit_text.h"
#include "fuzz_folder.h"
#include "parser/framing_parser.h"
#include "text/shown_text.h"
#include "verbs/event_printer.h"

namespace {

// To print all events of a long archive would take longer than all else.
constexpr std::size_t kMostPrinted = 20;

using Events = std::vector<RecordedEvent>;
using Row = std::vector<std::string>;

// The events of one piece of memory.
class PlainEventList : public FramingSink {
 public:
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {}
  void OnIndex(FilePosition /*position*/, const IDX_T& index) override {
    mTime = ToArchiveTime(index.time);
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    if (!IsEventType(head.type)) return;
    events.push_back({mTime, head.type, std::string(payload, payload + head.length)});
  }

  Events events;

 private:
  ArchiveTime mTime = 0;
};

bool AreSame(const Events& one, const Events& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](const RecordedEvent& a, const RecordedEvent& b) {
                      return a.time == b.time && a.type == b.type && a.text == b.text;
                    });
}

std::string Printed(const Events& events, OutputFormat format, const GivenSource& source,
                    bool areMany) {
  return PrintedBy([&] {
    AskedSource::Frame frame;
    frame.areMany = areMany;
    AskedSource asked(source, &frame);
    EventPrinter printer({format, TimeFormat::kInteger}, &asked);
    for (const RecordedEvent& event : events) printer.Print(event);
    printer.Finish();
  });
}

Row CellsOf(const std::string& line) {
  Row cells{""};
  bool isQuoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == ',' && !isQuoted) {
      cells.emplace_back();
    } else if (line[i] != '"') {
      cells.back() += line[i];
    } else if (isQuoted && i + 1 < line.size() && line[i + 1] == '"') {
      cells.back() += line[i++];
    } else {
      isQuoted = !isQuoted;
    }
  }
  FUZZ_REQUIRE(!isQuoted);
  return cells;
}

std::string AsCell(const std::string& text) {
  const std::string shown = Escaped(text);
  const bool isFormula = !shown.empty() && std::string("=+-@").find(shown[0]) != std::string::npos;
  return isFormula ? "'" + shown : shown;
}

void CheckCsv(const std::string& csv, const Events& events, const std::string* source) {
  const std::vector<std::string> lines = LinesOf(csv);
  FUZZ_REQUIRE(lines.size() == events.size() + 1);
  for (std::size_t i = 0; i < events.size(); ++i) {
    Row expected{std::to_string(events[i].time), event_types::Name(events[i].type),
                 AsCell(events[i].text)};
    if (source != nullptr) expected.insert(expected.begin(), AsCell(*source));
    FUZZ_REQUIRE(CellsOf(lines[i + 1]) == expected);
  }
}

// Whoever parses JSON gets U+FFFD for what is not UTF-8.
Json AsParsed(const std::string& text) {
  return Json::parse(Json(text).dump(-1, ' ', true, Json::error_handler_t::replace));
}

void CheckJson(const Json& json, const RecordedEvent& event, const std::string* source) {
  FUZZ_REQUIRE(json["time"] == event.time);
  FUZZ_REQUIRE(json["type"] == event_types::Name(event.type));
  FUZZ_REQUIRE(json["text"] == AsParsed(event.text));
  if (source != nullptr) FUZZ_REQUIRE(json["source"] == AsParsed(*source));
}

void CheckPrinted(const Events& events, const GivenSource& source, bool areMany) {
  const std::string* const name = areMany ? &source.path : nullptr;
  const auto printed = [&](OutputFormat format) {
    const std::string text = Printed(events, format, source, areMany);
    FUZZ_REQUIRE(IsFitText(text));
    return text;
  };
  const std::size_t headings = areMany ? 2 : 1;
  FUZZ_REQUIRE(LinesOf(printed(OutputFormat::kText)).size() ==
               (events.empty() ? 0 : headings + events.size()));
  CheckCsv(printed(OutputFormat::kCsv), events, name);
  const Json whole = Json::parse(printed(OutputFormat::kJson));
  FUZZ_REQUIRE(whole["events"].size() == events.size());
  const std::vector<std::string> lines = LinesOf(printed(OutputFormat::kJsonLines));
  FUZZ_REQUIRE(lines.size() == events.size());
  for (std::size_t i = 0; i < events.size(); ++i) {
    CheckJson(whole["events"][i], events[i], nullptr);
    CheckJson(Json::parse(lines[i]), events[i], name);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  static const std::string path = folder / "cam.zel3";
  ArchiveInput input(bytes, size);
  const std::uint8_t choices = input.choices.Byte();
  GivenSource source;
  source.path = "/" + input.choices.RestAsText();
  if ((choices & 4) != 0) source.path.erase(0, 1);

  WriteFile(path, input.archive);
  PlainEventList expected;
  FramingParser parser(expected);
  parser.Feed(input.archive.data(), input.archive.size());
  parser.Finish();

  Events found;
  const auto onEvent = [&found](const RecordedEvent& event) { found.push_back(event); };
  ForEachFoundEvent(path, onEvent);
  FUZZ_REQUIRE(AreSame(found, expected.events));
  if ((choices & 1) != 0) {
    WriteExactCache(path);
    found.clear();
    ForEachEvent(path, CacheNames(QFile::decodeName(path.c_str()), QString()), onEvent);
    FUZZ_REQUIRE(AreSame(found, expected.events));
  }
  expected.events.resize(std::min(expected.events.size(), kMostPrinted));
  CheckPrinted(expected.events, source, (choices & 2) != 0);
  return 0;
}
