#pragma once

#include <chrono>
#include <iostream>
#include <string>

// Shows a person what a test has measured: one line on the standard output.
template <class Value>
void ReportFigure(const std::string& name, const Value& value) {
  std::cout << "figure: " << name << " = " << value << std::endl;
}

// Runs from its construction on.
class Stopwatch {
 public:
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
  }

 private:
  const std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};
