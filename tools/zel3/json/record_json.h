#pragma once

#include <optional>

#include "sdk/mem_block.h"
#include "text/json_text.h"

// A block as a JSON object, its keys in a fixed order. The last value of raw data ("bytes") and of
// activity ("levels") is left empty: it may be larger than what else is in memory. Nothing for a
// block that is too small for its record.
std::optional<Json> RecordJson(const cMemBlock& block);
