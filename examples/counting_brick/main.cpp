#include <blocks/tags.h>
#include <host/brick_plugins.h>
#include <host/pipeline.h>
#include <sdk/brick_loader.h>

#include <cstring>
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

// Puts reader, parser and counter one after the other, and lets them work.
bool PrintCounts(const char* archive) {
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
  CountingBrick counter;
  counter.Create(config);
  parser->ConnectAfter(reader.get());
  counter.ConnectAfter(parser.get());

  // An archive without an index is indexed first.
  bool idle = pipeline.RunUntilIdle();
  counter.Start();
  idle = pipeline.RunUntilIdle() && idle;
  for (const auto& [tag, count] : counter.Counts()) std::cout << tag << ' ' << count << '\n';

  // The reader first: the bricks that it has made end in the pipeline.
  reader.reset();
  parser.reset();
  return pipeline.RunUntilIdle() && idle;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::cerr << "usage: count_blocks ARCHIVE\n";
    return 2;
  }
  const bool done = PrintCounts(arguments[1]);
  brick_plugins::UnloadAll();
  return done ? 0 : 1;
}
