#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Where bytes go: a file or the standard output. Opened with the first bytes, written without a
// buffer. An unfinished plain file is removed, so that a failed or interrupted verb leaves no half
// a result.
class OutputFile {
 public:
  // "-" is the standard output.
  explicit OutputFile(const std::string& path) : mPath(path) {}
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Both throw ToolError when the bytes cannot be written or the user interrupts.
  void Write(const std::vector<unsigned char>& bytes);
  void Finish();

  std::uint64_t BytesWritten() const { return mBytesWritten; }

 private:
  static constexpr int kClosed = -1;

  void Open();
  [[noreturn]] void Fail() const;

  const std::string mPath;
  int mDescriptor = kClosed;
  std::uint64_t mBytesWritten = 0;
};
