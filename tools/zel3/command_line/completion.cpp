#include "command_line/completion.h"

namespace completion {

std::optional<Script> ScriptFor(const std::string& shell) {
  if (shell == "bash") return BashScript;
  if (shell == "zsh") return ZshScript;
  if (shell == "fish") return FishScript;
  return std::nullopt;
}

}  // namespace completion
