#include "verbs/calendar_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <utility>
#include <vector>

#include "client/calendar_rows.h"
#include "output/standard_output.h"
#include "output/tables.h"
#include "text/shown_text.h"
#include "times/length_text.h"
#include "times/time_reference.h"

namespace {

// A line of the calendar: a text and its width on a terminal.
struct CalendarLine {
  std::string text;
  std::size_t width = 0;
  bool isHeading = false;
  QDate date;  // of what it shows, or of what follows it

  void Add(const std::string& more) {
    text += more;
    width += more.size();
  }
};

// How days look in one column, or in two.
struct Layout {
  std::size_t cellWidth;
  bool isNarrow;
};

constexpr Layout kWide = {2, false};
constexpr Layout kNarrow = {1, true};
constexpr std::size_t kMostWideRows = 31;
constexpr std::size_t kNarrowWidth = 39;
constexpr std::size_t kBetween = 2;
// Rows in each of two columns: what a tall window shows, and more than a hundred days need.
constexpr std::size_t kMostNarrowRows = 56;

std::string DateOf(const QDate& date, const Layout& layout) {
  static const char* const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  const std::string weekday = kDays[date.dayOfWeek() - 1];
  if (layout.isNarrow) return fmt::format("{} {:02} ", weekday.substr(0, 2), date.day());
  return weekday + " " + date.toString(Qt::ISODate).toLatin1().constData() + " ";
}

struct CellStyle {
  const char* mark;
  std::optional<Colour> colour;
};

CellStyle StyleOf(const RecordedHour& hour) {
  if (hour.length == 0) return {" ", {}};
  if (hour.recorded == 0) return {"·", {}};
  if (hour.recorded == hour.length) return {"█", Colour::kGreen};
  if (hour.recorded * 3 < hour.length) return {"░", Colour::kYellow};
  return {hour.recorded * 3 <= hour.length * 2 ? "▒" : "▓", Colour::kYellow};
}

std::string MarkOf(const CellStyle& style, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += style.mark;
  return style.colour ? Coloured(text, *style.colour) : text;
}

void AddCell(const RecordedHour& hour, const Layout& layout, CalendarLine* line) {
  line->text += MarkOf(StyleOf(hour), hour.isInDoubt ? layout.cellWidth - 1 : layout.cellWidth);
  if (hour.isInDoubt) line->text += Coloured("!", Colour::kRed);
  line->width += layout.cellWidth;
}

std::string PercentText(const RecordedHour& sum) {
  const unsigned percent = sum.Thousandths() / 10;
  return percent == 0 && sum.recorded > 0 ? "<1" : std::to_string(percent);
}

// In at most three characters: 999, 12k.
std::string ShortCount(std::uint64_t count) {
  const char* unit = "";
  for (const char* const next : {"k", "M", "G"}) {
    if (count < (*unit == '\0' ? 1000U : 100U)) break;
    count /= 1000;
    unit = next;
  }
  return std::to_string(count) + unit;
}

CalendarLine LineOf(const RecordedDay& day, const Layout& layout) {
  CalendarLine line;
  line.date = day.date;
  line.Add(DateOf(day.date, layout));
  for (const RecordedHour& hour : day.hours) AddCell(hour, layout, &line);
  const RecordedHour sum = day.Sum();
  if (layout.isNarrow) {
    line.Add(fmt::format("{:>4}{:>4}", PercentText(sum), ShortCount(sum.events)));
  } else {
    line.Add(fmt::format("{:>6}{:>8} ", PercentText(sum), sum.events));
  }
  if (!sum.isInDoubt) return line;
  line.text += Coloured("!", Colour::kRed);
  ++line.width;
  return line;
}

CalendarLine LineOf(const CalendarGap& gap) {
  CalendarLine line;
  line.date = gap.first;
  line.text = fmt::format("… {} days without a recording", gap.days);
  line.width = line.text.size() - std::string("…").size() + 1;
  if (!gap.isInDoubt) return line;
  line.text += " " + Coloured("!", Colour::kRed);
  line.width += 2;
  return line;
}

CalendarLine HeadingOf(const QDate& date, const Layout& layout) {
  CalendarLine line;
  line.isHeading = true;
  line.date = date;
  std::string text;
  for (std::size_t hour = 0; hour < kHoursOfDay; hour += 3)
    text += fmt::format("{:<{}}", hour, 3 * layout.cellWidth);
  if (layout.isNarrow) {
    // The month replaces the first hour.
    line.Add(fmt::format("{:04}-{:02}{}   %  ev", date.year(), date.month(), text.substr(1)));
  } else {
    line.Add(fmt::format("{:15}{}     %  events", "", text));
  }
  return line;
}

std::vector<CalendarLine> LinesOf(const std::vector<CalendarRow>& rows, const Layout& layout) {
  std::vector<CalendarLine> lines;
  QDate last;
  for (const CalendarRow& row : rows) {
    CalendarLine line = row.day ? LineOf(*row.day, layout) : LineOf(row.gap);
    const bool isNewMonth = layout.isNarrow && row.day &&
                            (line.date.month() != last.month() || line.date.year() != last.year());
    if (isNewMonth || (!layout.isNarrow && lines.empty())) {
      lines.push_back(HeadingOf(line.date, layout));
    }
    if (row.day) last = line.date;
    lines.push_back(std::move(line));
  }
  return lines;
}

void PrintLine(std::string text) {
  text.resize(text.find_last_not_of(' ') + 1);
  std::cout << text << '\n';
  CheckStandardOutput();
}

using LineIterator = std::vector<CalendarLine>::const_iterator;

// Takes the lines of one column, which begins with a heading.
std::vector<CalendarLine> TakeColumn(LineIterator* next, LineIterator end, std::size_t rows) {
  std::vector<CalendarLine> column;
  if (*next != end && !(*next)->isHeading) column.push_back(HeadingOf((*next)->date, kNarrow));
  while (*next != end && column.size() < rows) column.push_back(*(*next)++);
  // Its days would be in the next column.
  if (*next != end && column.size() > 1 && column.back().isHeading) {
    column.pop_back();
    --*next;
  }
  return column;
}

void PrintSideBySide(const std::vector<CalendarLine>& lines) {
  LineIterator next = lines.begin();
  while (next != lines.end()) {
    if (next != lines.begin()) PrintLine("");
    // Including the headings that the columns get.
    const auto left = static_cast<std::size_t>(lines.end() - next) + (next->isHeading ? 1 : 2);
    const std::size_t rows = std::min(kMostNarrowRows, (left + 1) / 2);
    const std::vector<CalendarLine> first = TakeColumn(&next, lines.end(), rows);
    const std::vector<CalendarLine> second = TakeColumn(&next, lines.end(), rows);
    for (std::size_t i = 0; i < std::max(first.size(), second.size()); ++i) {
      std::string text = i < first.size() ? first[i].text : "";
      const std::size_t width = i < first.size() ? first[i].width : 0;
      if (i < second.size()) {
        text.append(kNarrowWidth + kBetween - width, ' ');
        text += second[i].text;
      }
      PrintLine(text);
    }
  }
}

void PrintLegend(const std::vector<CalendarRow>& rows, bool isNarrow) {
  std::cout << "· nothing  ░ less than a third  ▒ about half  ▓ most  █ all recorded  ! in doubt\n";
  const bool hasBlanks = std::any_of(rows.begin(), rows.end(), [](const CalendarRow& row) {
    return row.day && std::any_of(row.day->hours.begin(), row.day->hours.end(),
                                  [](const RecordedHour& hour) { return hour.length == 0; });
  });
  if (hasBlanks) std::cout << "blank: skipped by the clocks, or not in the range\n";
  if (isNarrow) std::cout << "%: how much of the day is recorded  ev: events, 2k: 2000 or more\n";
}

void PrintSummary(const RecordedDays& found, const std::vector<CalendarRow>& rows) {
  RecordedHour all;
  std::uint64_t recordedDays = 0;
  std::uint64_t doubtedDays = 0;
  for (const RecordedDay& day : found.days) {
    const RecordedHour sum = day.Sum();
    recordedDays += sum.recorded > 0 ? 1 : 0;
    doubtedDays += sum.isInDoubt ? 1 : 0;
    all.recorded += sum.recorded;
    all.events += sum.events;
  }
  std::uint64_t days = 0;
  for (const CalendarRow& row : rows) {
    days += row.day ? 1 : row.gap.days;
    if (!row.day && row.gap.isInDoubt) doubtedDays += row.gap.days;
  }
  std::cout << fmt::format("recorded on {} of {}, {} in all, {}", recordedDays,
                           Counted(days, "day"), LengthInHours(all.recorded, TimeFormat::kIso),
                           Counted(all.events, "event"));
  if (doubtedDays > 0) std::cout << ", " << Counted(doubtedDays, "day") << " in doubt";
  std::cout << "\nin the time zone " << ShownZone() << '\n';
}

}  // namespace

std::string ShownZone() {
  return TimeReferenceInForce().zone.id().constData();
}

void PrintCalendar(const RecordedDays& found, const QTimeZone& zone) {
  const std::vector<CalendarRow> rows = RowsOf(found, zone);
  const bool isNarrow = rows.size() > kMostWideRows;
  const std::vector<CalendarLine> lines = LinesOf(rows, isNarrow ? kNarrow : kWide);
  if (isNarrow) {
    PrintSideBySide(lines);
  } else {
    for (const CalendarLine& line : lines) PrintLine(line.text);
  }
  PrintLegend(rows, isNarrow);
  PrintSummary(found, rows);
}
