#pragma once

#include <string>

#include "archive/found_record.h"
#include "text/json_text.h"
#include "times/time_text.h"

// Prints the records of archive files one line at a time, so that files can have any length.
namespace record_printer {

// The name of a file and the names of the columns.
void PrintTextHeading(const std::string& fileName);
void PrintText(const FoundRecord& record, TimeFormat times);

Json AsJson(const std::string& fileName, const FoundRecord& record, TimeFormat times);

}  // namespace record_printer
