#pragma once

#include <cstdint>
#include <optional>

#include "blocks/units.h"
#include "system/file_handle.h"

// Where a file holds data. The rest is holes: parts that were never written and take no room on the
// disk; they read as zeros. Where the system cannot tell, all of a file is data.

// A part of a file that holds data, from its first byte to one past its last.
struct DataPart {
  FilePosition from = 0;
  FilePosition to = 0;
};

// The first part of an open file that holds data at `position` or after it, limited to what lies
// between `position` and `size`. Nothing when only a hole follows. Moves the position at which the
// handle reads next.
std::optional<DataPart> NextData(int handle, FilePosition position, std::uint64_t size);

// How many bytes of an open file are data: its size without the holes. 0 when the size cannot be
// told. The position of the handle does not change.
std::uint64_t DataBytes(const FileHandle& file);
// The same for a part of an open file.
std::uint64_t DataBytes(int handle, FilePosition from, FilePosition to);
