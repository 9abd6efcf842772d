#pragma once

#include <cstdint>
#include <optional>

#include "blocks/units.h"
#include "system/file_handle.h"

// Where a file holds data. The rest of it are holes: parts that were never written and that the
// disk does not keep; they read as zeros. Where the system cannot tell, all of a file is data.

// A part of a file that holds data, from its first byte to after its last.
struct DataPart {
  FilePosition from = 0;
  FilePosition to = 0;
};

// The first part of an open file that holds data at `position` or after it, as of there and as far
// as `size`. Nothing when only a hole follows. Moves the place where the handle reads next.
std::optional<DataPart> NextData(int handle, FilePosition position, std::uint64_t size);

// How many bytes of an open file are data: its size without the holes. 0 when the size cannot be
// told. The handle reads on where it did.
std::uint64_t DataBytes(const FileHandle& file);
// The same for a part of an open file.
std::uint64_t DataBytes(int handle, FilePosition from, FilePosition to);
