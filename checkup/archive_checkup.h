#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <string>

#include "archive/archive_scan.h"
#include "blocks/units.h"
#include "checkup/cache_checkup.h"
#include "checkup/finding.h"
#include "sources/source_facts.h"

// What one pass over an archive file finds out.
struct ArchiveFacts {
  std::string path;
  std::string name;         // what people know it by
  std::uint64_t bytes = 0;  // its size
  std::uint64_t entries = 0;
  // Of the earliest entry and the latest, by their places; of no meaning without entries.
  ArchiveTime startTime = 0;
  ArchiveTime endTime = 0;
  ArchiveTime step = 0;      // typical, from one entry to the next; 0 without any
  std::bitset<256> streams;  // those that have data
  std::map<std::uint8_t, std::string> streamNames;  // as headers declare them
  CacheState cache = CacheState::kNone;
};

// Goes through one file of a source and its cache files. Neither is changed. A file that cannot be
// read is a finding, too; what is not an archive has no cache files. Throws Failure when the user
// interrupts.
ArchiveFacts CheckArchive(const std::string& path, const SourceFacts& source, Findings* findings,
                          const OnBytesRead& onBytesRead);

// The same for a file that is being written.
ArchiveFacts CheckArchive(const std::string& path, const SourceFacts& source, Findings* findings,
                          const OnBytesRead& onBytesRead, const WaitForBytes& waitForBytes);
