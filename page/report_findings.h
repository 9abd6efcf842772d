#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// What is wrong with the files, as a part of a page: a list of causes, the worst first, each with a
// remedy and its findings.
std::string FindingsSection(const ReportData& report, TimeFormat times);
