#include "verbs/events.h"

#include <algorithm>

#include "archive/event_types.h"
#include "client/indexed_source.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

namespace {

bool IsWanted(const RecordedEvent& event, const EventsOptions& options) {
  if (event.time < options.from || event.time >= options.to) return false;
  const auto& types = options.types;
  return types.empty() || std::find(types.begin(), types.end(), event.type) != types.end();
}

Json AsJson(const RecordedEvent& event, TimeFormat times) {
  Json json;
  json["time"] = TimeJson(event.time, times);
  json["type"] = event_types::Name(event.type);
  json["text"] = event.text;
  return json;
}

void PrintAsJson(const std::vector<RecordedEvent>& events, TimeFormat times) {
  Json json;
  Json& list = json["events"] = Json::array();
  for (const RecordedEvent& event : events) list.push_back(AsJson(event, times));
  PrintJsonLine(json);
}

std::vector<std::vector<std::string>> AsRows(const std::vector<RecordedEvent>& events,
                                             TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"time", "type", "text"}};
  for (const RecordedEvent& event : events) {
    rows.push_back(
        {TimeText(event.time, times), event_types::Name(event.type), Escaped(event.text)});
  }
  return rows;
}

void Print(const std::vector<RecordedEvent>& events, const OutputStyle& style) {
  const TimeFormat times = style.Times();
  switch (style.format) {
    case OutputFormat::kText:
      PrintTable(AsRows(events, times));
      break;
    case OutputFormat::kCsv:
      PrintCsv(AsRows(events, times));
      break;
    case OutputFormat::kJson:
      PrintAsJson(events, times);
      break;
    case OutputFormat::kJsonLines:
      for (const RecordedEvent& event : events) PrintJsonLine(AsJson(event, times));
      break;
  }
}

}  // namespace

int RunEvents(const HostOptions& host, const EventsOptions& options) {
  CheckTimeRange(options.from, options.to);
  const ServedSource served(host, options.source, options.missingIndexes, PrintNotice);
  ProgressBar progress;
  IndexedSource source(served, &progress);
  std::vector<RecordedEvent> wanted;
  for (const RecordedEvent& event : source.Client().Events()) {
    if (IsWanted(event, options)) wanted.push_back(event);
  }
  if (wanted.empty()) source.FailWithNothing("no event is recorded there");
  Print(wanted, options.style);
  return source.IsComplete() ? kExitDone : kExitDamaged;
}
