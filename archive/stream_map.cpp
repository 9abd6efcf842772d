#include "archive/stream_map.h"

std::vector<unsigned> StreamIds(const TArchiveEntry& archive) {
  std::vector<unsigned> ids;
  for (unsigned id = 0; id < 256; ++id) {
    if ((archive.streamMap[id >> 3] >> (id & 7) & 1) != 0) ids.push_back(id);
  }
  return ids;
}
