#pragma once

#include <cstddef>
#include <string>
#include <vector>

// How a line of the console can go on.
struct LineCompletion {
  std::size_t typed = 0;           // how many bytes at the end of the text are the start of a word
  std::vector<std::string> words;  // that begin with them, whole
};

// What may be typed at the end of `text`, which stands before the cursor: commands, their fields
// that are not there yet, and what surrounds them in JSON; also "help" and what it takes.
LineCompletion CompleteCommand(const std::string& text);
