#include <filesystem>
#include <iostream>
#include <vector>

#include "fuzz_input.h"

// Runs a fuzz target over files, or over all files of folders, so that a corpus serves as a test.
int main(int argumentCount, char** arguments) {
  std::size_t count = 0;
  const auto run = [&count](const std::filesystem::path& path) {
    const Bytes bytes = ReadFile(path.string());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++count;
  };
  for (int i = 1; i < argumentCount; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) {
      run(arguments[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) run(entry.path());
  }
  std::cout << count << " inputs\n";
  return count == 0 ? 1 : 0;
}
