#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/unfinished_file.h"
#include "system/file_handle.h"

// Where the results of a verb go: a file, or a pipe, device or standard output. Opened at the first
// write; not buffered.
//
// A file is replaced only when all of it is on the disk: until then, and when the verb fails or is
// interrupted, the earlier file stays as it was. For a symbolic link, the file that it points to is
// replaced, and keeps its permissions; other hard links to that file keep the earlier content.
// Pipes, devices and the standard output are written in place.
class OutputFile {
 public:
  // "-" is the standard output.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // All throw Failure when the bytes cannot be written or the user interrupts.
  void Write(const unsigned char* bytes, std::size_t size);
  void Write(const std::vector<unsigned char>& bytes) { Write(bytes.data(), bytes.size()); }
  void Finish();

  std::uint64_t BytesWritten() const { return mBytesWritten; }

  // Whether the path means the standard output: "-", or one of the system's names for it.
  static bool IsStandardOutput(const std::string& path);

 private:
  void Open();
  [[noreturn]] void Fail() const;

  const std::string mPath;
  std::optional<UnfinishedFile> mUnfinished;  // for a file
  FileHandle mInPlace;                        // for what is written in place
  std::uint64_t mBytesWritten = 0;
};
