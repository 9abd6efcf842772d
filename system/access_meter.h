#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Counts what this process reads: how often files in some folders are opened, and how many bytes
// are read from all files. Other processes that open files in the folders count, too.
class AccessMeter {
 public:
  // Counts from now on. A folder that cannot be watched counts nothing.
  explicit AccessMeter(const std::vector<std::string>& folders);
  ~AccessMeter();
  AccessMeter(const AccessMeter&) = delete;
  AccessMeter& operator=(const AccessMeter&) = delete;

  // Takes the counts as they are now.
  void Stop();

  // Nothing when there were more than the system could record.
  std::optional<std::uint64_t> FilesOpened() const { return mFilesOpened; }
  std::uint64_t BytesRead() const { return mBytesRead; }

 private:
  const int mWatch;
  std::uint64_t mBytesRead = 0;
  std::optional<std::uint64_t> mFilesOpened;
};
