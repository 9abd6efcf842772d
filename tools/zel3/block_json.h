#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

#include "mem_block.h"

// A block as one JSON object, its keys in a fixed order. Of raw data at most `byteLimit` bytes are
// shown. Nothing for a notification or archive list that is too small for its record.
std::optional<nlohmann::ordered_json> BlockAsJson(const cMemBlock& block, std::uint64_t byteLimit);

// Whether the block is what clients wait for: a notification, an archive list or raw data.
bool IsAnswer(const cMemBlock& block);
