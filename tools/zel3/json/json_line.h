#pragma once

#include "blocks/units.h"
#include "text/json_text.h"
#include "times/time_text.h"

// JSON on the standard output, one value on one line.
void PrintJsonLine(const Json& value);
// The same without escapes, for what is to be shown as it is.
void PrintPlainJsonLine(const Json& value);

// A time as a JSON number or text.
Json TimeJson(ArchiveTime archiveTime, TimeFormat format);
