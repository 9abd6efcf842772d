#pragma once

#include <cstddef>
#include <optional>

// The offset of the first marker, of a header or an index record, that lies whole within the bytes.
std::optional<std::size_t> FindMarker(const unsigned char* bytes, std::size_t size);
