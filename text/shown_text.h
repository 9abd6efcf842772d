#pragma once

#include <cstdint>
#include <string>

// Texts as people are shown them.

// 1 file, 2 files; 1 entry, 2 entries
std::string Counted(std::uint64_t count, const char* what);
std::string Counted(std::uint64_t count, const char* one, const char* many);

// A text that comes from outside, fit for a terminal: control characters are shown as \u001b, bytes
// that are not UTF-8 as U+FFFD.
std::string Escaped(const std::string& text);
