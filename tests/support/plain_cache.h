#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "support/temp_folder.h"

// What loading cache files must give, written as plainly as possible, to compare the indexer with.

struct PlainEvent {
  std::uint8_t type;
  std::string text;
};
struct PlainGroup {
  std::uint32_t time;
  std::uint32_t offsetLow;
  std::vector<PlainEvent> events;
};
std::vector<PlainGroup> PlainEvents(const Bytes& evt);

struct PlainEntries {
  std::vector<std::uint32_t> times;
  std::vector<std::uint64_t> cuts;
  std::uint32_t start = 0xFFFFFFFF;
  std::uint32_t end = 0;
  std::uint32_t interval = 0;
};
PlainEntries PlainId3(const Bytes& id3);

// Puts each position before the first cut greater than it, one after the other.
void PlainInsertHeaders(const std::vector<std::uint64_t>& positions,
                        std::vector<std::uint64_t>* cuts);

// The first stretch [start, end) between two cuts that holds a position; both 0 when there is none.
std::pair<std::uint64_t, std::uint64_t> PlainStretch(const std::vector<std::uint64_t>& cuts,
                                                     std::uint64_t position);
// The last of the headers that lies below a position and below 4 GiB; 0 when there is none.
std::uint64_t PlainHeaderBefore(const std::vector<std::uint64_t>& headers, std::uint64_t position);
