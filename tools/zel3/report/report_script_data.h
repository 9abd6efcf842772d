#pragma once

#include <string>

#include "render.h"
#include "report_data.h"

// What the script of a report draws, as JSON that may stand in an HTML page.
std::string ReportScriptData(const ReportData& report, TimeFormat times);
