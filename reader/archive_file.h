#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>

#include "blocks/units.h"
#include "indexer/archive_stream.h"
#include "indexer/plain_file.h"

// The archive file of a reader: the one now open or, when that did not open, the one tried last.
class ArchiveFile {
 public:
  // Closes the file and opens another one. If that one does not open, it still becomes the current
  // one, but the size stays that of the file before. Throws std::bad_alloc.
  bool Open(const QString& path);
  void Close();

  // Empty before the first file.
  const QString& Path() const;
  // What follows the last "/" of the path.
  QString Name() const;
  // False for an older file, and before the first.
  bool IsZel3() const { return !zel3FilePath.isEmpty(); }

  // In bytes, when the file was opened.
  std::uint64_t Size() const { return fileSize; }
  // As it is now; 0 for a closed file.
  std::uint64_t SizeNow() const { return file.SizeNow(); }
  // Reads up to `size` bytes at `position` and returns how many it read. A short read does not
  // disable the next one.
  std::size_t ReadAt(FilePosition position, void* bytes, std::size_t size) const;

  // Streaming: takes the file's bytes from the first to the last, with zeros in place of those that
  // cannot be read. Fewer than `size` bytes, or none, come only at the end of the file.
  std::size_t ReadNext(unsigned char* bytes, std::size_t size);
  // Some of what could not be read can be read now.
  bool CanBeReadNow() const { return stream.CanBeReadNow(file); }
  // Reading reached the end of the file, or came near enough.
  bool ReachesTheEnd() const { return stream.ReachesTheEnd(file); }

 private:
  // The path of the current file, by its suffix: at most one of the two is set.
  QString zel3FilePath;
  QString zel1FilePath;
  PlainFile file;
  std::uint64_t fileSize = 0;
  ArchiveStream stream;  // how far it has been streamed
};
