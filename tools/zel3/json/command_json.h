#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "sdk/mem_block.h"

// Says why a text is not a list of commands. The message does not repeat the text.
class CommandError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The commands that one JSON value stands for: an object is one command, an array is its elements
// in their order. Throws CommandError when any of it is not a command.
std::vector<cMemBlock> CommandsFromJson(const std::string& text);

// What people are told about the commands.
struct CommandField {
  std::string name;
  std::string help;
};
struct CommandHelp {
  std::string name;
  std::string help;
  std::vector<CommandField> fields;
};

// For every command.
std::vector<CommandHelp> HelpOfCommands();
