#pragma once

#include <memory>
#include <string>

// Where the lines of the console come from.
class ConsoleLines {
 public:
  virtual ~ConsoleLines() = default;

  // The next line, without its end; false at the end of the input.
  virtual bool Next(std::string* line) = 0;
};

// The lines of the standard input as they are. Those that somebody types at a terminal can be
// edited, are kept for the next time, and may ask for help, which is printed and given back as an
// empty line.
std::unique_ptr<ConsoleLines> MakeConsoleLines();
