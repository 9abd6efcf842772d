#pragma once

#include <optional>

#include "sdk/mem_block.h"
#include "text/json_text.h"

// A block as a JSON object, its keys in a fixed order. The last value of raw data ("bytes") and of
// activity ("levels") is left empty: it may be larger than the rest of memory holds. Nothing for a
// block that is too small for its record.
std::optional<Json> RecordJson(const cMemBlock& block);
