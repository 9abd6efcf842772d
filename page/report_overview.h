#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// The whole report as one picture, as SVG within a page: it needs no script, and is what is
// printed. Empty if no file holds an entry.
std::string OverviewSection(const ReportData& report, TimeFormat times);
