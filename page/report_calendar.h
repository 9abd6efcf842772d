#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// The days of a long report, one row each, with what was recorded in each hour as clocks of the
// zone in force show it. Empty for a report of two days or less, and where times are integers.
std::string CalendarSection(const ReportData& report, TimeFormat times);
