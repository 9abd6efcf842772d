#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Texts measured in the columns that a terminal needs to show them: wide characters take two,
// combining ones none. Texts are UTF-8, on one line, and escaped; a byte that is not UTF-8 counts
// as one column.

std::size_t DisplayWidth(const std::string& text);

// The text, or where it is wider than that its start and its end with "…" between them. What
// belongs together, as a letter and its accents, stays or goes as one. Never wider than `width`.
std::string ShortenedToWidth(const std::string& text, std::size_t width);

// The text in lines that are not wider than that, cut at spaces where it has some; one line at
// least. A character that is wider than a line stands there by itself. REQUIRES: width > 0.
std::vector<std::string> WrappedToWidth(const std::string& text, std::size_t width);
