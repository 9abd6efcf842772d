#pragma once

#include <string>

#include "indexer/plain_file.h"
#include "support/archive_builder.h"
#include "support/temp_folder.h"

// An archive file of a test's own, open for reading.
class MadeFile {
 public:
  explicit MadeFile(const Bytes& bytes) {
    WriteFile(Path(), bytes);
    Open();
  }
  explicit MadeFile(const ArchiveBuilder& archive) : MadeFile(archive.Content()) {}

  std::string Path() const { return mFolder / "a.zel3"; }
  const PlainFile& File() const { return mFile; }
  // As it is now.
  void Open() {
    mFile.Close();
    mFile.Open(Path(), PlainFile::Mode::kRead);
  }

 private:
  TempFolder mFolder;
  PlainFile mFile;
};

// A header of 32 bytes with stream 1, and entries of 24 bytes with these times: the first stands at
// byte 32, its block at byte 45.
inline ArchiveBuilder EntriesAt(const std::vector<std::uint32_t>& indexTimes) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  for (const std::uint32_t time : indexTimes) archive.Index(time).Data(1, 3, "picture");
  return archive;
}
