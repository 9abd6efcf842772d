#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

// Keeps what is printed to the standard output as long as it lives.
class CapturedOutput {
 public:
  CapturedOutput() : mBefore(std::cout.rdbuf(mKept.rdbuf())) {}
  ~CapturedOutput() { std::cout.rdbuf(mBefore); }
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  std::string Text() const { return mKept.str(); }

 private:
  std::ostringstream mKept;
  std::streambuf* const mBefore;
};

// What `print` prints.
template <class Print>
std::string PrintedBy(Print print) {
  const CapturedOutput output;
  print();
  return output.Text();
}

// Each ends with a line end, which is not part of it.
inline std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream left(text);
  for (std::string line; std::getline(left, line);) lines.push_back(line);
  return lines;
}
