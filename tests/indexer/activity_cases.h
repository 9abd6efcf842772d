#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gist_buffer.h"
#include "indexer/file_index_store.h"

// Files whose entries are active in stream 5, and what a request makes of them, in a line each.

constexpr int kNoPair = -1;

struct Active {
  std::uint32_t time;
  int level;  // of stream 5
};

// A file whose entries last `interval` each.
sFile_Index_Store ActiveFile(const std::string& name, std::uint32_t interval,
                             const std::vector<Active>& entries);

// Stretches of bins with a level; all others have none.
struct Stretch {
  int first;
  int last;
  int level;
};

Levels Painted(int binCount, const std::vector<Stretch>& stretches);

struct SpanCase {
  const char* what;
  std::vector<sFile_Index_Store> files;
  TZEL3ActivityRequest request;
  bool found;
  std::vector<Stretch> painted;
};

void ExpectLevels(const SpanCase& row);
