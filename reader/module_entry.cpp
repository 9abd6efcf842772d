#include <memory>

#include "blocks/tags.h"
#include "reader/zel3_file_reader.h"
#include "sdk/brick_config.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

bool IsReaderConfig(const TBrickConfig& config) {
  return config.input.format == tag::kFormatZel3 && config.output.format == tag::kFormatZel3 &&
         config.input.kind == tag::kKindFolder && config.output.kind == tag::kRawData;
}

}  // namespace

// Makes a reader for `config`; null when the configuration asks for another brick. A reader whose
// source cannot be opened is returned as well; it tells its clients so. The caller owns the brick.
// Throws what construction throws.
MODULE_EXPORT CBrick* CreateBrick(TBrickConfig* config) {
  if (config == nullptr || !IsReaderConfig(*config)) return nullptr;
  std::unique_ptr<CBrick> reader = std::make_unique<CZel3FileReader>();
  reader->Create(*config);
  return reader.release();
}

// The module needs nothing done when it is loaded or unloaded.
MODULE_EXPORT int DllMain(void* /*module*/, unsigned long /*reason*/, void* /*reserved*/) {
  return 1;
}

namespace {

constexpr unsigned long kUnloaded = 0;
constexpr unsigned long kLoaded = 1;

__attribute__((constructor)) void init() {
  DllMain(nullptr, kLoaded, nullptr);
}
__attribute__((destructor)) void fini() {
  DllMain(nullptr, kUnloaded, nullptr);
}

}  // namespace
