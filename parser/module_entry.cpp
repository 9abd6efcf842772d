#include <exception>
#include <memory>

#include "parser/parser_brick.h"

// The factory of the plug-in: a parser for a host that wants archive bytes turned into records of
// many kinds; null for anything else, including the older archive format. The caller owns the
// brick.
extern "C" __attribute__((visibility("default"))) CBrick* CreateBrick(TBrickConfig* config) {
  if (config == nullptr) return nullptr;
  try {
    auto parser = std::make_unique<ParserBrick>();
    if (!parser->IsKnownInput(config->input) || !parser->IsKnownOutput(config->output))
      return nullptr;
    parser->Create(*config);
    return parser.release();
  } catch (const std::exception&) {
    return nullptr;
  }
}
