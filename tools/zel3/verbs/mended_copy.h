#pragma once

#include <cstdint>
#include <optional>

#include "archive/archive_scan.h"
#include "archive/lost_header.h"
#include "indexer/plain_file.h"
#include "verbs/loss_list.h"
#include "verbs/new_archives.h"

// What was found while copying everything whole.
struct Mended {
  enum class FirstHeader {
    kWhole,
    kRestored,  // from what was left of it
    kLater,     // replaced by one from later in the archive
  };

  LossList losses;
  std::uint64_t entries = 0;         // written, at least in part
  std::uint64_t damagedEntries = 0;  // of these: those that have lost something
  FirstHeader firstHeader = FirstHeader::kWhole;
  std::optional<FilePosition> laterHeader;  // that replaced the first one

  bool IsWhole() const { return losses.Count() == 0 && firstHeader == FirstHeader::kWhole; }
};

// Writes everything whole in an archive into a new one, which has begun. An undamaged archive is
// copied byte by byte. Throws Failure when no header is whole, when something cannot be written,
// and when the user interrupts.
Mended CopyWhatIsWhole(const PlainFile& file, UnfinishedFile* output, const OnBytesRead& onBytes);
