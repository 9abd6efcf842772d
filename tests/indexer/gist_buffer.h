#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "blocks/notifications.h"
#include "indexer/zel3_indexer.h"

using Levels = std::vector<int>;

// A gist with room for its levels, all zero, between two stretches that nobody may write to.
class GistBuffer {
 public:
  explicit GistBuffer(std::int32_t binCount);

  TActivityGist* Gist() { return reinterpret_cast<TActivityGist*>(mBytes.data() + kMargin); }
  Levels AllLevels();
  // Nothing outside the gist and its levels has been written.
  bool IsIntact() const;

 private:
  static constexpr std::size_t kMargin = 64;

  std::size_t mBinCount;
  std::vector<unsigned char> mBytes;
};

struct ActivityAnswer {
  bool found;
  Levels levels;
};

TZEL3ActivityRequest Span(std::uint64_t from, std::uint64_t to, std::int32_t binCount,
                          std::int32_t streamId = 5);
// Asks and checks what holds for every answer: the request's fields are copied, and only levels are
// written.
ActivityAnswer ActivityOf(const cZel3Indexer& index, const TZEL3ActivityRequest& request);
