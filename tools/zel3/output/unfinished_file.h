#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "blocks/units.h"
#include "system/file_handle.h"

// A file that is being written in the folder of its final name. It has a temporary name until it
// gets the final one, and is removed at the end of its scope if it never does.
//
// All throw Failure when the bytes cannot be written or the user interrupts.
class UnfinishedFile {
 public:
  // `target`: symbolic links are followed. `suffix`: of the temporary name.
  explicit UnfinishedFile(const std::string& target, const std::string& suffix = "");
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  void Write(const unsigned char* bytes, std::size_t size);
  // Has the system copy bytes of an open file. Returns false, with nothing written, when it cannot.
  bool CopyFrom(int source, FilePosition position, std::size_t size);
  // Leaves a hole of this many zeros.
  void Skip(std::uint64_t size);
  std::uint64_t Size() const { return mSize; }
  // Calls `hear` with the size whenever the file has grown.
  void OnGrowth(std::function<void(std::uint64_t size)> hear) { mHearGrowth = std::move(hear); }

  // The temporary name.
  const std::string& Path() const { return mPath; }

  // Removes what a failed write has left at the end.
  void CutToWhole();
  // Makes all of it readable. Nothing is written afterwards.
  void Finish();
  // Waits until it is on the disk. REQUIRES: finished.
  void Save();

  enum class Existing { kReplace, kKeep };
  // Gives it its final name, in the folder of the target. If it replaces a file, it gets the
  // permissions of that file. Fails if there is a file that is to be kept. REQUIRES: saved.
  void TakeName(const std::string& name, Existing existing);

 private:
  [[noreturn]] void Fail() const;
  void Grow(std::uint64_t size);

  std::string mShown;  // the name that the user knows
  std::string mPath;   // empty: it has its final name
  FileHandle mFile;
  std::uint64_t mSize = 0;
  std::function<void(std::uint64_t size)> mHearGrowth;
  bool mEndsWithHole = false;
};

// Where symbolic links lead, even if nothing is there yet.
std::string WhereLinksLead(const std::string& path);

// Whether the path is one of the system's names for an open file: no rename can replace that file.
bool NamesAnOpenFile(const std::string& path);

// All of the bytes; false when that fails. Throws Failure when the user interrupts.
bool WriteAll(int file, const unsigned char* bytes, std::size_t size);
