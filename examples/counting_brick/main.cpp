#include <blocks/tags.h>
#include <host/brick_plugins.h>
#include <host/pipeline.h>
#include <sdk/brick_loader.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>

#include "counting_brick.h"

namespace {

using Brick = std::unique_ptr<CBrick>;

Brick Load(Tag signature, TBrickConfig config) {
  config.signature = signature;
  Brick brick(CBrickLoader::CreateBrick(signature, config));
  if (brick == nullptr) std::cerr << brick_plugins::LastError() << '\n';
  return brick;
}

// How this host names the plug-in of the filter: four characters of its choice.
constexpr Tag kFilter = FourCc("Filt");

// Connects reader, parser, filter (if there is one) and counter in a chain, and lets them work.
bool PrintCounts(const char* archive, bool hasFilter, std::uint32_t leastLevel) {
  Pipeline pipeline;
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  config.input = {tag::kFormatZel3, tag::kKindFolder};
  config.output = {tag::kFormatZel3, tag::kRawData};
  std::strncpy(config.sourcePath, archive, sizeof(config.sourcePath) - 1);
  Brick reader = Load(tag::kSignatureReader, config);
  config.input = config.output;
  config.output = {tag::kFormatMany, tag::kKindMany};
  Brick parser = Load(tag::kSignatureParser, config);
  if (reader == nullptr || parser == nullptr) return false;
  config.input = config.output;
  config.param = leastLevel;
  const Brick filter = hasFilter ? Load(kFilter, config) : nullptr;
  if (hasFilter && filter == nullptr) return false;
  CountingBrick counter;
  counter.Create(config);
  parser->ConnectAfter(reader.get());
  if (filter != nullptr) filter->ConnectAfter(parser.get());
  counter.ConnectAfter(hasFilter ? filter.get() : parser.get());

  // An archive without an index is indexed first.
  bool idle = pipeline.RunUntilIdle();
  counter.Start();
  idle = pipeline.RunUntilIdle() && idle;
  for (const auto& [tag, count] : counter.Counts()) std::cout << tag << ' ' << count << '\n';

  // The reader first: the pipeline then ends the bricks that it has made.
  reader.reset();
  parser.reset();
  return pipeline.RunUntilIdle() && idle;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const bool hasFilter = argumentCount == 4;
  if (argumentCount != 2 && !hasFilter) {
    std::cerr << "usage: count_blocks ARCHIVE [FILTER_FILE LEAST_LEVEL]\n";
    return 2;
  }
  if (hasFilter) brick_plugins::RegisterFile(kFilter, std::filesystem::absolute(arguments[2]));
  const auto leastLevel = hasFilter ? std::strtoul(arguments[3], nullptr, 10) : 0;
  const bool done = PrintCounts(arguments[1], hasFilter, static_cast<std::uint32_t>(leastLevel));
  brick_plugins::UnloadAll();
  return done ? 0 : 1;
}
