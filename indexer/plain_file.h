#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/units.h"

// A plain file. Pipes, folders and devices never open, and opening never blocks. Used on one
// thread.
class PlainFile {
 public:
  enum class Mode {
    kRead,    // links are followed
    kUpdate,  // for writing a file that exists, as it is; links are followed
    kMake,    // for writing a file that does not exist yet, not even as a link
  };

  PlainFile() = default;
  // Closes the file; what Write has not yet passed on is lost.
  ~PlainFile();
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;

  // `permissions` are those of a file that is made, before the umask. REQUIRES: the file is closed.
  // Throws std::bad_alloc.
  bool Open(const QString& path, Mode mode, unsigned permissions = 0);
  // The same for a path of any bytes. Throws nothing.
  bool Open(const std::string& path, Mode mode, unsigned permissions = 0);
  bool IsOpen() const { return mHandle >= 0; }
  void Close();
  // For calls to the system; -1 for a closed file. Owned by the file.
  int Handle() const { return mHandle; }

  // In bytes, when the file was opened; 0 for a closed one.
  std::uint64_t Size() const { return mSize; }
  // As it is now; 0 when it cannot be told.
  std::uint64_t SizeNow() const;
  // Goes on after the bytes read last. Gives fewer than `size` bytes at the end of the file and
  // where reading fails.
  std::size_t Read(void* bytes, std::size_t size);
  // The same from `position` on. `failed` tells a read error from the end of the file. A closed
  // file is empty.
  std::size_t ReadAt(FilePosition position, void* bytes, std::size_t size, bool* failed) const;

  // Goes on after the bytes written last. False when this or an earlier write has failed. Throws
  // std::bad_alloc.
  bool Write(const void* bytes, std::size_t size);
  // Removes all bytes of the file.
  bool Empty();
  // Passes on what was written, and has the system begin to bring it to the disk: files that are
  // all begun before the first is saved share one wait. False when this or a write has failed.
  bool BeginSaving();
  // Closes the file once all that was written is on the disk. False when that or a write has
  // failed; the file is closed even then.
  bool SaveAndClose();

 private:
  bool OpenBytes(const char* path, Mode mode, unsigned permissions);
  bool Examine();
  void Flush();
  void PassOn(const char* bytes, std::size_t size);

  int mHandle = -1;
  std::uint64_t mSize = 0;
  std::vector<char> mWaiting;  // written, but not yet passed on to the system
  bool mFailed = false;
};

// Both paths name one existing file, be it through links of either kind, or are equal.
bool IsSameFile(const QString& path, const QString& other);
// The open file `handle` still has the name `path`; a link to it does not count.
bool IsStillAt(const QString& path, int handle);
