#pragma once

#include <cstddef>
#include <string>

// A text of at most so many bytes as it is; a longer one is cut between characters there, and
// ends with "…".
std::string Shortened(const std::string& text, std::size_t mostBytes);
