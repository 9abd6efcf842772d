#pragma once

#include <optional>
#include <string>

#include "command_line/command_description.h"

// Shell scripts that complete the command line of the program.
namespace completion {

using Script = std::string (*)(const CommandDescription&);

// The script for bash, zsh or fish; nothing for another shell.
std::optional<Script> ScriptFor(const std::string& shell);

std::string BashScript(const CommandDescription& command);
std::string ZshScript(const CommandDescription& command);
std::string FishScript(const CommandDescription& command);

}  // namespace completion
