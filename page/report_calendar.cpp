#include "page/report_calendar.h"

#include <fmt/format.h>

#include <algorithm>

#include "client/calendar_rows.h"
#include "page/html.h"
#include "text/shown_text.h"
#include "times/local_time.h"
#include "times/time_reference.h"

namespace {

constexpr std::size_t kMostRows = 400;
constexpr unsigned kWhole = 1000;

constexpr char kCalendarKey[] =
    "<p class=\"key\">\n"
    "<span><i class=\"swatch whole\"></i>recorded</span>\n"
    "<span><i class=\"swatch part\"></i>partly recorded</span>\n"
    "<span><i class=\"swatch hole\"></i>– nothing recorded</span>\n"
    "<span><b class=\"warning\">!</b> damaged, or not known</span>\n"
    "<span>numbers: events</span>\n"
    "</p>\n";

std::string PercentText(unsigned thousandths) {
  return fmt::format("{}.{} %", thousandths / 10, thousandths % 10);
}

// A whole hour has no text; a partly recorded one gives its share to those who have the page read
// out.
std::string CellOf(const RecordedHour& hour) {
  if (hour.length == 0 && hour.recorded == 0 && hour.events == 0 && !hour.isInDoubt) return "<td>";
  const unsigned thousandths = hour.Thousandths();
  std::string cell;
  if (thousandths == 0) {
    cell = "<td class=\"r0\">–";
  } else if (thousandths >= kWhole) {
    cell = "<td class=\"r10\">";
  } else {
    const unsigned tenths = std::max(1U, thousandths / 100);
    cell = fmt::format("<td class=\"r{}\" title=\"{}\"><span class=\"unseen\">{} recorded </span>",
                       tenths, PercentText(thousandths), PercentText(thousandths));
  }
  if (hour.isInDoubt) cell += "<b class=\"warning\">!</b>";
  if (hour.events > 0) cell += std::to_string(hour.events);
  return cell;
}

std::string DayText(const QDate& date) {
  constexpr const char* kNames[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  return fmt::format("{} {:04}-{:02}-{:02}", kNames[date.dayOfWeek() - 1], date.year(),
                     date.month(), date.day());
}

std::string RowOf(const RecordedDay& day) {
  const QTimeZone& zone = TimeReferenceInForce().zone;
  const RecordedHour sum = day.Sum();
  const auto from = StartOfDay(day.date, zone);
  const auto to = StartOfDay(day.date.addDays(1), zone);
  std::string row = "<tr><td class=\"time\"";
  if (from && to && *from >= 0) row += fmt::format(" data-from=\"{}\" data-to=\"{}\"", *from, *to);
  row += fmt::format(">{}<td class=\"number\">{}<td class=\"number\">{}", DayText(day.date),
                     PercentText(sum.Thousandths()), sum.events);
  for (const RecordedHour& hour : day.hours) row += CellOf(hour);
  return row + "</tr>\n";
}

std::string RowOf(const CalendarGap& gap) {
  return fmt::format(
      "<tr><td class=\"time\">{}<td class=\"number\">0.0 %<td class=\"number\">0"
      "<td colspan=\"{}\" class=\"r0\">– nothing recorded{}</tr>\n",
      Counted(static_cast<std::uint64_t>(gap.days), "day"), kHoursOfDay,
      gap.isInDoubt ? " <b class=\"warning\">!</b>" : "");
}

}  // namespace

std::string CalendarSection(const ReportData& report, TimeFormat times) {
  const std::vector<CalendarRow> rows = RowsOf(report.days, TimeReferenceInForce().zone);
  if (times == TimeFormat::kInteger || rows.empty()) return "";
  std::string table =
      "<table class=\"calendar\">\n<caption class=\"unseen\">Days: how much of each day and "
      "of each hour is recorded, and their events</caption>\n<thead><tr>"
      "<th scope=\"col\">Day</th><th scope=\"col\" class=\"number\">Recorded</th>"
      "<th scope=\"col\" class=\"number\">Events</th>";
  for (std::size_t hour = 0; hour < kHoursOfDay; ++hour)
    table += fmt::format("<th scope=\"col\">{:02}</th>", hour);
  table += "</tr></thead>\n<tbody>\n";
  const std::size_t shown = std::min(rows.size(), kMostRows);
  for (std::size_t i = 0; i < shown; ++i)
    table += rows[i].day ? RowOf(*rows[i].day) : RowOf(rows[i].gap);
  table += "</tbody>\n</table>";
  const std::string heading =
      shown < rows.size() ? fmt::format("Calendar: {} of {} rows", shown, rows.size()) : "Calendar";
  return html::Section("calendar", heading, kCalendarKey + html::Scrolled("Calendar", table));
}
