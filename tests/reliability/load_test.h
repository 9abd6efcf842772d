#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/brick_plugins.h"
#include "process_figures.h"
#include "support/figure.h"
#include "support/long_form.h"
#include "support/reader_test.h"

// A reader under load, with the parser that the host brings along.
class LoadTest : public ReaderTest {
 protected:
  void SetUp() override { brick_plugins::ResetRegistrations(); }
};

// An archive and the index that a run over it makes.
struct IndexedArchive {
  Bytes bytes;
  IndexCache cache;
};

// A header, and an index record with a data block for each of the index times.
inline IndexedArchive IndexedArchiveOf(const std::vector<std::uint32_t>& indexTimes) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}, {2}});
  IndexCache cache;
  for (const std::uint32_t time : indexTimes) {
    cache.entries.push_back({time, static_cast<std::uint32_t>(builder.Size()), {{1, 8}}});
    builder.Index(time).Data(1, 4, "picture at " + std::to_string(time));
  }
  return {builder.Content(), cache};
}
