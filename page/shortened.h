#pragma once

#include <cstddef>
#include <string>

// The text as it is, if it has at most this many bytes; a longer one is cut there, between
// characters, and ends with "…".
std::string Shortened(const std::string& text, std::size_t mostBytes);
