#pragma once

#include <cstdint>
#include <optional>

#include "archive/archive_scan.h"
#include "archive/lost_header.h"
#include "indexer/plain_file.h"
#include "verbs/loss_list.h"
#include "verbs/new_archives.h"

// What copying all that is whole has met.
struct Mended {
  enum class FirstHeader {
    kWhole,
    kRestored,  // from what was left of it
    kLater,     // one that stands later in the archive was put in its place
  };

  LossList losses;
  std::uint64_t entries = 0;         // written, at least in part
  std::uint64_t damagedEntries = 0;  // of these: something of them is lost
  FirstHeader firstHeader = FirstHeader::kWhole;
  std::optional<FilePosition> laterHeader;  // the one that was put there

  bool IsWhole() const { return losses.Count() == 0 && firstHeader == FirstHeader::kWhole; }
};

// Writes all that is whole of an archive into a new one, which has begun. A whole one is copied
// byte by byte. Throws Failure when no header is whole, when something cannot be written, and when
// the user interrupts.
Mended CopyWhatIsWhole(const PlainFile& file, UnfinishedFile* output, const OnBytesRead& onBytes);
