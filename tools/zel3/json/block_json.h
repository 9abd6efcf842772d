#pragma once

#include <cstdint>
#include <iosfwd>

#include "sdk/mem_block.h"

// Prints a block as one JSON object on a line, its keys in a fixed order, with at most `byteLimit`
// bytes of raw data. Prints nothing for a block that is too small for its record.
void PrintBlock(const cMemBlock& block, std::uint64_t byteLimit, std::ostream& out);

// Whether the block is what clients wait for: a notification, an archive list or raw data.
bool IsAnswer(const cMemBlock& block);
