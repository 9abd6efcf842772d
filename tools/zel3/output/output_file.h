#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/unfinished_file.h"
#include "system/file_handle.h"

// Where the results of a verb go: a file, or what takes bytes as they come. Opened with the first
// bytes, written without a buffer.
//
// A file is replaced only when all of it is on the disk: until then what stood there stays as it
// was, and so it does when the verb fails or is interrupted. Of a symbolic link the file is
// replaced that it leads to, with the rights that this has; another name of it, by a hard link,
// keeps the earlier file. Pipes, devices and the standard output are written in place.
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

  // The standard output is meant, by "-" or by one of the system's names for it.
  static bool IsStandardOutput(const std::string& path);

 private:
  void Open();
  [[noreturn]] void Fail() const;

  const std::string mPath;
  std::optional<UnfinishedFile> mUnfinished;  // of a file
  FileHandle mInPlace;                        // of what is written in place
  std::uint64_t mBytesWritten = 0;
};
