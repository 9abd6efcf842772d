#include "verbs/event_printer.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "archive/event_types.h"
#include "json/json_line.h"
#include "output/standard_output.h"
#include "text/shown_text.h"
#include "times/time_text.h"

namespace {

const std::vector<std::string>& Headings() {
  static const std::vector<std::string> headings{"time", "type", "text"};
  return headings;
}

// The widths of a table that has every kind of event.
std::vector<std::size_t> LargestWidths() {
  std::size_t typeWidth = 0;
  for (const std::string& name : event_types::Names()) typeWidth = std::max(typeWidth, name.size());
  return {0, typeWidth, 0};
}

Json AsJson(const RecordedEvent& event, TimeFormat times) {
  Json json;
  json["time"] = TimeJson(event.time, times);
  json["type"] = event_types::Name(event.type);
  json["text"] = event.text;
  return json;
}

std::vector<std::string> AsRow(const RecordedEvent& event, TimeFormat times) {
  return {TimeText(event.time, times), event_types::Name(event.type), Escaped(event.text)};
}

}  // namespace

EventPrinter::EventPrinter(const OutputStyle& style, AskedSource* asked)
    : mAsked(*asked),
      mFormat(style.format),
      mTimes(style.Times()),
      mTable(Headings(), LargestWidths()) {}

void EventPrinter::Begin() {
  if (mFormat == OutputFormat::kJson) {
    mAsked.BeginJson();
    std::cout << R"("events":[)";
  }
  if (mFormat == OutputFormat::kCsv) mAsked.PrintCsv({Headings()});
}

void EventPrinter::Print(const RecordedEvent& event) {
  if (!mHasPrinted) Begin();
  switch (mFormat) {
    case OutputFormat::kText:
      if (!mHasPrinted) mAsked.BeginText();
      mTable.Add(AsRow(event, mTimes));
      break;
    case OutputFormat::kCsv:
      mAsked.PrintCsv({Headings(), AsRow(event, mTimes)});
      break;
    case OutputFormat::kJson:
      std::cout << (mHasPrinted ? "," : "") << JsonText(AsJson(event, mTimes));
      break;
    case OutputFormat::kJsonLines:
      mAsked.PrintJsonRow(AsJson(event, mTimes));
      break;
  }
  mHasPrinted = true;
  CheckStandardOutput();
}

void EventPrinter::Finish() {
  if (!mHasPrinted) Begin();
  if (mFormat == OutputFormat::kJson) {
    std::cout << ']';
    mAsked.EndJson();
  }
  if (mFormat == OutputFormat::kText && mHasPrinted) mTable.Finish();
}
