#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// What is wrong with the files, as a part of a page: a list of causes, from the worst to the least,
// each with what can be done about it and its findings.
std::string FindingsSection(const ReportData& report, TimeFormat times);
