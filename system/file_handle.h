#pragma once

#include <string>

// An open file of the system, closed at the end of its scope.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int handle) : mHandle(handle) {}
  ~FileHandle();
  FileHandle(FileHandle&& other) noexcept : mHandle(other.Release()) {}
  FileHandle& operator=(FileHandle&& other) noexcept;

  bool IsOpen() const { return mHandle >= 0; }
  int Get() const { return mHandle; }
  // The caller closes it.
  int Release();

 private:
  int mHandle = -1;
};

// Opens what stands at `path` for reading; `flags` are added to the usual ones. Never waits for a
// pipe. A closed handle when it does not open; errno says why. Throws Failure when the process or
// the system has no file handle left: that says nothing about the file.
FileHandle OpenForReading(const std::string& path, int flags = 0);

// Throws Failure when the process cannot open as many files as a reader needs at once: a reader
// that cannot open a file says that nothing is recorded.
void RequireFileHandles();
