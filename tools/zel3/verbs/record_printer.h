#pragma once

#include <string>

#include "archive/found_record.h"
#include "text/json_text.h"
#include "times/time_text.h"

// Shows the records of archive files, each on one line, so that a file of any length can be shown.
namespace record_printer {

// The name of a file and the names of the columns.
void PrintTextHeading(const std::string& fileName);
void PrintText(const FoundRecord& record, TimeFormat times);

Json AsJson(const std::string& fileName, const FoundRecord& record, TimeFormat times);

}  // namespace record_printer
