#pragma once

#include <cstdint>
#include <iosfwd>

#include "sdk/mem_block.h"

// Prints a block as one JSON object in a line, its keys in a fixed order. Of raw data at most
// `byteLimit` bytes are shown. Prints nothing for a block that is too small for its record.
void PrintBlock(const cMemBlock& block, std::uint64_t byteLimit, std::ostream& out);

// Whether the block is what clients wait for: a notification, an archive list or raw data.
bool IsAnswer(const cMemBlock& block);
