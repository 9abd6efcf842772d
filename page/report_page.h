#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// A report as one HTML page that loads nothing: its charts are drawn by a script of its own, and
// its tables say the same without. Texts from archives are escaped, and the page lets only its own
// script and style work.
std::string ReportPage(const ReportData& report, TimeFormat times);
