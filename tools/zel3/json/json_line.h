#pragma once

#include <nlohmann/json.hpp>

#include "times/time_text.h"

// JSON on the standard output, one value on one line.
void PrintJsonLine(const nlohmann::ordered_json& value);
// The same without escapes, for what is to be shown as it is.
void PrintPlainJsonLine(const nlohmann::ordered_json& value);

// A time as a JSON number or text.
nlohmann::ordered_json TimeJson(ArchiveTime archiveTime, TimeFormat format);
