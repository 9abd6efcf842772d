#pragma once

#include <cstdint>
#include <string>

// Tells whether an archive and its index are still what they were when they were looked at, without
// reading them.

// One file; all zero where there is none.
struct FileIdentity {
  std::uint64_t size = 0;
  std::uint64_t inode = 0;
  std::uint64_t device = 0;
  std::int64_t modified = 0;  // its contents; nanoseconds since 1970
  std::int64_t changed = 0;   // anything about it, by the system's own clock
};

bool operator==(const FileIdentity& one, const FileIdentity& other);

// An archive and its three cache files.
struct ArchiveIdentity {
  FileIdentity archive;
  FileIdentity entries;
  FileIdentity headers;
  FileIdentity events;
  std::int64_t lookedAt = 0;  // nanoseconds since 1970; not compared
};

bool operator==(const ArchiveIdentity& one, const ArchiveIdentity& other);

// What stands there now; links are followed. `cacheFolder`: as IndexPlace names it. Whatever else
// is found out about the files must be found out after this look.
ArchiveIdentity LookAtArchive(const std::string& archive, const std::string& cacheFolder);

// Whether a later change shows as a different identity: the files were left alone for a while
// before they were looked at. The clock of a file system ticks slowly, and two writes within one
// tick leave the same times.
bool ShowsChanges(const ArchiveIdentity& identity);
