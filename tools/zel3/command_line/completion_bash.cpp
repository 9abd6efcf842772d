#include <fmt/format.h>

#include "command_line/completion.h"

namespace completion {

namespace {

// Finds out where the cursor is: the option before it that waits for a value, or which argument of
// which verb. What may come there is in the tables _zel3_value and _zel3_options. Bash also ends
// words at "=" and ":"; what follows a colon belongs to the word before it.
constexpr char kCompleteFunction[] = R"(
_zel3() {
  local current=${COMP_WORDS[COMP_CWORD]} verb= option= position=0 word i
  local value options
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ $word == = ]]; then continue
    elif [[ $word == : ]]; then ((++i))
    elif [[ $option ]]; then option=
    elif [[ $word == -?* ]]; then _zel3_value "$verb" "$word" && option=$word
    elif [[ $verb ]]; then ((++position))
    else verb=$word
    fi
  done
  COMPREPLY=()
  [[ $current == = ]] && current=
  if [[ ! $option && $current == -* ]]; then
    _zel3_options "$verb"
    COMPREPLY=($(compgen -W "$options" -- "$current"))
  elif _zel3_value "$verb" "${option:-$((position + 1))}"; then
    # Left to the shell, which knows how to quote names.
    if [[ $value == PATH ]]; then compopt -o default; return; fi
    COMPREPLY=($(compgen -W "$value" -- "$current"))
  fi
}
complete -F _zel3 zel3
)";

std::string Words(const std::vector<std::string>& words) {
  return fmt::format("{}", fmt::join(words, " "));
}

// A line of the table of values: what follows an option, or comes at a place.
void AddValue(std::string* script, const std::string& pattern, const ArgumentDescription& what) {
  if (!what.TakesValue()) return;
  const std::string value = what.TakesPath() ? "PATH" : Words(what.Choices());
  *script += fmt::format("    {}) value='{}' ;;\n", pattern, value);
}

void AddValues(std::string* script, const VerbDescription& verb) {
  std::size_t place = 0;
  for (const ArgumentDescription& argument : verb.positionals) {
    ++place;
    if (argument.mayBeRepeated) {
      AddValue(script, fmt::format("'{} '[1-9]*", verb.name), argument);
      // What follows it has no fixed place.
      break;
    }
    AddValue(script, fmt::format("'{} {}'", verb.name, place), argument);
  }
  for (const ArgumentDescription& option : verb.options) {
    for (const std::string& name : option.names) {
      AddValue(script, fmt::format("'{} {}'", verb.name, name), option);
    }
  }
}

std::string Names(const std::vector<ArgumentDescription>& options) {
  std::vector<std::string> names;
  for (const ArgumentDescription& option : options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return Words(names);
}

}  // namespace

std::string BashScript(const CommandDescription& command) {
  std::string script =
      "# Completes zel3 in bash. Made by: zel3 completion bash\n\n"
      "# Sets `value` to what the option or place $2 of the verb $1 takes. Fails when it takes "
      "nothing.\n"
      "_zel3_value() {\n  case \"$1 $2\" in\n";
  std::vector<std::string> verbs;
  for (const VerbDescription& verb : command.verbs) verbs.push_back(verb.name);
  script += fmt::format("    ' 1') value='{}' ;;\n", Words(verbs));
  for (const ArgumentDescription& option : command.options) {
    for (const std::string& name : option.names) AddValue(&script, "*' " + name + "'", option);
  }
  for (const VerbDescription& verb : command.verbs) AddValues(&script, verb);
  script +=
      "    *) return 1 ;;\n  esac\n}\n\n"
      "# Sets `options` to the options that may follow the verb $1.\n"
      "_zel3_options() {\n  case $1 in\n";
  for (const VerbDescription& verb : command.verbs) {
    script += fmt::format("    {}) options='{}' ;;\n", verb.name, Names(verb.options));
  }
  script +=
      fmt::format("    *) options= ;;\n  esac\n  options+=' {}'\n}}\n", Names(command.options));
  return script + kCompleteFunction;
}

}  // namespace completion
