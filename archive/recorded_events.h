#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "archive/archive_scan.h"
#include "archive/recorded_event.h"
#include "indexer/cache_names.h"

// The events of one archive, in file order, one at a time. The time of an event is that of its
// entry; before the first entry it is 0. Memory does not grow with their number.

using OnEvent = std::function<void(const RecordedEvent&)>;

// How many events the cache of the archive keeps, if it keeps all that the archive has: the archive
// is sound, and has exactly as many in each of its entries. Nothing otherwise: a cache can hold
// neither more than 255 events of an entry nor a NUL in a text. What the events are is not
// compared. Reads the length of every record of the archive. Throws Failure when the user
// interrupts.
std::optional<std::uint64_t> CountKeptEvents(const std::string& archive, const CacheNames& names);

// Hands over the events that the cache keeps, and returns their number. Nothing when the cache is
// not whole; the events before that place have then been handed over.
std::optional<std::uint64_t> ForEachKeptEvent(const CacheNames& names, const OnEvent& onEvent);

// Hands over the events that a parser finds in the archive, which is read whole. Returns the number
// of bytes in which it finds nothing, because they are damaged or cannot be read. Throws what
// ScanArchive throws.
std::uint64_t ForEachFoundEvent(
    const std::string& archive, const OnEvent& onEvent,
    const OnBytesRead& onBytesRead = [](std::size_t) {});

// Hands over the kept events, or those found in the archive where not all are kept; all are kept
// only of an archive without damage. Returns and throws the same, and throws Failure when the cache
// changes meanwhile.
std::uint64_t ForEachEvent(
    const std::string& archive, const CacheNames& names, const OnEvent& onEvent,
    const OnBytesRead& onBytesRead = [](std::size_t) {});
