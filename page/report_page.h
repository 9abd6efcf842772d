#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// A report as one HTML page that loads nothing: its own script draws the charts, and its tables say
// the same without a script. Texts from archives are escaped, and the page allows only its own
// script and style.
std::string ReportPage(const ReportData& report, TimeFormat times);
