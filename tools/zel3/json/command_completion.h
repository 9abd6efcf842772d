#pragma once

#include <cstddef>
#include <string>
#include <vector>

// How a line of the console can continue.
struct LineCompletion {
  std::size_t typed = 0;           // how many bytes at the end of the text are the start of a word
  std::vector<std::string> words;  // that begin with them, whole
};

// What may be typed after `text`, which is before the cursor: commands, fields that they do not
// have yet, and the JSON around them; also "help" and what it takes.
LineCompletion CompleteCommand(const std::string& text);
