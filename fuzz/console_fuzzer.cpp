// Any line of the console is refused with a reason or gives commands, and a printed command gives
// the same command when it is read.

#include <sstream>

#include "blocks/commands.h"
#include "fuzz_input.h"
#include "json/block_json.h"
#include "json/command_json.h"

namespace {

std::string Printed(const cMemBlock& block) {
  std::ostringstream out;
  PrintBlock(block, 0, out);
  return out.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  std::vector<cMemBlock> commands;
  try {
    commands = CommandsFromJson(input.RestAsText());
  } catch (const CommandError& error) {
    FUZZ_REQUIRE(*error.what() != 0);
    return 0;
  }
  for (const cMemBlock& command : commands) {
    const std::string printed = Printed(command);
    // A line cannot give the byte `timeReached`.
    if (command.GetType() == tag::kParserChunkRequest) continue;
    const std::string line = "{\"cmd\"" + printed.substr(std::string("{\"block\"").size());
    const std::vector<cMemBlock> again = CommandsFromJson(line);
    FUZZ_REQUIRE(again.size() == 1 && Printed(again[0]) == printed);
  }
  return 0;
}
