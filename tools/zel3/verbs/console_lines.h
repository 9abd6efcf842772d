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

// The lines of the standard input as they are. Lines typed at a terminal can be edited and are kept
// for the next time; one that asks for help is answered here and returned as an empty line.
std::unique_ptr<ConsoleLines> MakeConsoleLines();
