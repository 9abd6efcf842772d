#include <alloca.h>
#include <blocks/tags.h>
#include <dlfcn.h>
#include <host/brick_plugins.h>
#include <host/pipeline.h>
#include <sdk/brick_loader.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include "counting_brick.h"

// A host that runs reader, parser and a counter of blocks on one archive, its index in a cache
// folder. A plug-in that is named is loaded beforehand, and takes what it can from its own
// libraries.

namespace {

using Brick = std::unique_ptr<CBrick>;

Brick Load(Tag signature, TBrickConfig config) {
  config.signature = signature;
  Brick brick(CBrickLoader::CreateBrick(signature, config));
  if (brick == nullptr) std::cerr << brick_plugins::LastError() << '\n';
  return brick;
}

bool PrintCounts(const char* archive, const char* cacheFolder) {
  Pipeline pipeline;
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  config.input = {tag::kFormatZel3, tag::kKindFolder};
  config.output = {tag::kFormatZel3, tag::kRawData};
  std::strncpy(config.sourcePath, archive, sizeof(config.sourcePath) - 1);
  std::strncpy(config.cacheFolder, cacheFolder, sizeof(config.cacheFolder) - 1);
  Brick reader = Load(tag::kSignatureReader, config);
  config.input = config.output;
  config.output = {tag::kFormatMany, tag::kKindMany};
  Brick parser = Load(tag::kSignatureParser, config);
  if (reader == nullptr || parser == nullptr) return false;
  CountingBrick counter;
  counter.Create(config);
  parser->ConnectAfter(reader.get());
  counter.ConnectAfter(parser.get());

  bool idle = pipeline.RunUntilIdle();
  counter.Start();
  idle = pipeline.RunUntilIdle() && idle;
  for (const auto& [tag, count] : counter.Counts()) std::cout << tag << ' ' << count << '\n';

  reader.reset();
  parser.reset();
  return pipeline.RunUntilIdle() && idle;
}

// Moves the stack by this many bytes, as far as the compiler lets it.
__attribute__((noinline)) bool PrintCountsDeeper(std::size_t bytes, char** paths) {
  void* const room = alloca(bytes);
  asm volatile("" : : "r"(room) : "memory");
  return PrintCounts(paths[0], paths[1]);
}

}  // namespace

// small_host ARCHIVE CACHE_FOLDER BYTES [PLUGIN]
int main(int argumentCount, char** arguments) {
  if (argumentCount < 4) return 2;
  if (argumentCount > 4 && dlopen(arguments[4], RTLD_NOW | RTLD_DEEPBIND) == nullptr) return 3;
  const bool done = PrintCountsDeeper(std::strtoul(arguments[3], nullptr, 10), arguments + 1);
  brick_plugins::UnloadAll();
  return done ? 0 : 1;
}
