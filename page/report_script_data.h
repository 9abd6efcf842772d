#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// What the script of a report draws, as JSON that is safe in an HTML page.
std::string ReportScriptData(const ReportData& report, TimeFormat times);
