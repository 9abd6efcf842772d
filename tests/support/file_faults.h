#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// In a program with this, statx never tells more of a file than it is asked for.

// What programs ask of the system for files. kExamine: what a file is like; kAllow: to change who
// may use it.
enum class FileOperation { kOpen, kRead, kWrite, kSync, kRename, kRemove, kLock, kExamine, kAllow };

// Lets a file operation of this thread go wrong until the end of a scope. Only one object at a
// time.
class FileFaults {
 public:
  enum class Repeats { kOnce, kFromThenOn };

  // Operation number `first` of this kind, counted from 0, fails with the error number `error`;
  // with kFromThenOn, so do all that follow it.
  FileFaults(FileOperation kind, int first, Repeats repeats, int error);
  // `act` is called before operation number `first` of this kind; none fails.
  FileFaults(FileOperation kind, int first, std::function<void()> act);
  // The same, counting all kinds but kExamine, which changes nothing.
  FileFaults(int first, std::function<void()> act);
  ~FileFaults();
  FileFaults(const FileFaults&) = delete;
  FileFaults& operator=(const FileFaults&) = delete;

  // Operations that failed, or before which `act` was called.
  int Struck() const;
};

// Bytes of a file that this thread cannot read until the end of a scope. Only one object at a time.
class UnreadableBytes {
 public:
  struct Range {
    std::uint64_t from;
    std::uint64_t to;
  };
  enum class Reads {
    kStopBefore,    // give what lies before the first such byte
    kFailAsAWhole,  // fail even when they only reach such a byte
  };

  UnreadableBytes(const std::string& path, const std::vector<Range>& ranges,
                  Reads reads = Reads::kStopBefore);
  ~UnreadableBytes();
  UnreadableBytes(const UnreadableBytes&) = delete;
  UnreadableBytes& operator=(const UnreadableBytes&) = delete;

  // The places of the reads that have failed so far.
  std::vector<std::uint64_t> FailedAt() const;
};

// Until the end of a scope no read of this thread gives more than `most` bytes at once.
class ShortReads {
 public:
  explicit ShortReads(int most);
  ~ShortReads();
  ShortReads(const ShortReads&) = delete;
  ShortReads& operator=(const ShortReads&) = delete;
};
