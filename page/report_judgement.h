#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// The report in one line: "8 files, 91.6 % of the day recorded, 2 gaps, no damage". It says so
// where something is not known.
std::string JudgementOf(const ReportData& report, TimeFormat times);
