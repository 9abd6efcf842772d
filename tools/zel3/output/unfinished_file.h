#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "blocks/units.h"
#include "system/file_handle.h"

// A file that is being written in the folder of the name that it is to get. It has a passing name
// until then, and is gone at the end of its scope when it has not got its own.
//
// All throw Failure when the bytes cannot be written or the user interrupts.
class UnfinishedFile {
 public:
  // `target`: where symbolic links of it lead is what counts. `suffix`: of the passing name.
  explicit UnfinishedFile(const std::string& target, const std::string& suffix = "");
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  void Write(const unsigned char* bytes, std::size_t size);
  // Has the system copy bytes of an open file. False, and nothing is written, when it cannot.
  bool CopyFrom(int source, FilePosition position, std::size_t size);
  // Leaves a hole of so many zeros.
  void Skip(std::uint64_t size);
  std::uint64_t Size() const { return mSize; }
  // Hears the size whenever it has grown.
  void OnGrowth(std::function<void(std::uint64_t size)> hear) { mHearGrowth = std::move(hear); }

  // Its passing name.
  const std::string& Path() const { return mPath; }

  // What a write that failed has left behind is no part of it.
  void CutToWhole();
  // All of it can be read now. Nothing is written afterwards.
  void Finish();
  // Brings it to the disk. REQUIRES: finished.
  void Save();

  enum class Existing { kReplace, kKeep };
  // Gives it a name in the folder of the target, which it keeps. One that takes the place of a file
  // gets the rights of that. A file that is to be kept makes it fail. REQUIRES: saved.
  void TakeName(const std::string& name, Existing existing);

 private:
  [[noreturn]] void Fail() const;
  void Grow(std::uint64_t size);

  std::string mShown;  // the name that the user knows
  std::string mPath;   // empty: it has its name
  FileHandle mFile;
  std::uint64_t mSize = 0;
  std::function<void(std::uint64_t size)> mHearGrowth;
  bool mEndsWithHole = false;
};

// Where symbolic links lead, also when nothing stands there yet.
std::string WhereLinksLead(const std::string& path);

// The system's names for files that a process has open: what stands there has no name of its own.
bool NamesAnOpenFile(const std::string& path);

// All of the bytes; false when that fails. Throws Failure when the user interrupts.
bool WriteAll(int file, const unsigned char* bytes, std::size_t size);
