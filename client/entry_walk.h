#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "blocks/units.h"
#include "client/archive_client.h"

// Walks the entries of an archive in the order of time, across files, through the questions that a
// reader answers.
class EntryWalk {
 public:
  // Gets an entry and a time that lies in its file, for ArchiveClient::Read. False ends the walk.
  using OnEntry =
      std::function<bool(std::uint32_t fileNumber, std::uint32_t entryNumber, ArchiveTime time)>;
  enum class End {
    kReached,
    kStopped,     // by OnEntry
    kOutOfOrder,  // the reader's answers do not move forward in time, as in damaged archives
  };

  // Borrows `client`.
  EntryWalk(ArchiveClient* client, OnEntry onEntry)
      : mClient(client), mOnEntry(std::move(onEntry)) {}

  // Visits the entry that holds the archive time `from`, or the first one after it where nothing is
  // recorded, and all later ones whose time is below `to`.
  End Visit(ArchiveTime from, ArchiveTime to);

 private:
  std::optional<FoundEntry> First(ArchiveTime from);
  bool VisitEntriesOfOneTime(const FoundEntry& first, const std::optional<FoundEntry>& before);

  ArchiveClient* const mClient;
  const OnEntry mOnEntry;
};
