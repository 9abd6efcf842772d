#pragma once

#include <string>

#include "page/report_data.h"
#include "times/time_text.h"

// The tables of a report, each a part of a page; empty where there is nothing to show.
namespace report_tables {

std::string Files(const ReportData& report, TimeFormat times);
std::string Gaps(const ReportData& report, TimeFormat times);
std::string Streams(const ReportData& report, TimeFormat times);
std::string Activity(const ReportData& report, TimeFormat times);
std::string Events(const ReportData& report, TimeFormat times);

}  // namespace report_tables
