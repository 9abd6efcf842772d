#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// The lines that a shell command writes.
inline std::vector<std::string> CommandOutput(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::vector<std::string> lines(1);
  for (int character; (character = std::fgetc(pipe.get())) != EOF;) {
    if (character == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += static_cast<char>(character);
    }
  }
  lines.pop_back();
  return lines;
}
