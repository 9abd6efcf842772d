#include <fmt/format.h>

#include "command_line/completion.h"

namespace completion {

namespace {

std::string InZshQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'') quoted += "'\\'";
    quoted += character;
  }
  return quoted + "'";
}

// A text within what _arguments or _describe gets.
std::string EscapedText(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == ':' || character == '[' || character == ']' || character == '\\') {
      escaped += '\\';
    }
    escaped += character;
  }
  return escaped;
}

std::string Action(const ArgumentDescription& argument) {
  if (argument.TakesPath()) return "_files";
  const std::vector<std::string> choices = argument.Choices();
  return choices.empty() ? " " : fmt::format("({})", fmt::join(choices, " "));
}

// An element of an array of the script.
std::string Element(const std::string& text) {
  return "    " + InZshQuotes(text) + "\n";
}

// These give elements in the language of _arguments: '--seed=[other contents]:NUMBER: '

std::string Elements(const ArgumentDescription& option) {
  std::string elements;
  for (const std::string& name : option.names) {
    const bool takesEquals = option.TakesValue() && name[1] == '-';
    std::string element = fmt::format("{}{}{}[{}]", option.mayBeRepeated ? "*" : "", name,
                                      takesEquals ? "=" : "", EscapedText(option.help));
    if (option.TakesValue()) {
      element += fmt::format(":{}:{}", EscapedText(option.value), Action(option));
    }
    elements += Element(element);
  }
  return elements;
}

std::string Elements(const VerbDescription& verb) {
  std::string elements;
  for (const ArgumentDescription& option : verb.options) elements += Elements(option);
  std::size_t place = 0;
  for (const ArgumentDescription& argument : verb.positionals) {
    const char* const colon = argument.isRequired ? ":" : "::";
    const std::string name = EscapedText(argument.names.front());
    if (argument.mayBeRepeated) {
      elements += Element(fmt::format("*:{}:{}", name, Action(argument)));
      // What follows it has no fixed place.
      break;
    }
    elements += Element(fmt::format("{}{}{}:{}", ++place, colon, name, Action(argument)));
  }
  return elements;
}

}  // namespace

std::string ZshScript(const CommandDescription& command) {
  std::string options;
  for (const ArgumentDescription& option : command.options) options += Elements(option);
  std::string verbs;
  std::string cases;
  for (const VerbDescription& verb : command.verbs) {
    verbs += Element(verb.name + ":" + EscapedText(verb.help));
    cases += fmt::format("    {}) arguments=(\n{}    ) ;;\n", verb.name, Elements(verb));
  }
  return "#compdef zel3\n"
         "# Completes zel3 in zsh. Made by: zel3 completion zsh\n\n"
         "_zel3() {\n"
         "  local curcontext=$curcontext state line\n"
         "  local -A opt_args\n"
         "  local -a options verbs arguments\n"
         "  local result=1\n"
         "  options=(\n" +
         options +
         "  )\n"
         "  verbs=(\n" +
         verbs +
         "  )\n"
         "  _arguments -C $options '1:verb:->verb' '*::argument:->argument' && result=0\n"
         "  case $state in\n"
         "    verb) _describe verb verbs && result=0; return result ;;\n"
         "    argument) ;;\n"
         "    *) return result ;;\n"
         "  esac\n"
         "  case $words[1] in\n" +
         cases +
         "  esac\n"
         "  _arguments $options $arguments && result=0\n"
         "  return result\n"
         "}\n\n"
         "# Called by the shell that has found this file in its path, or read by its start file.\n"
         "if [[ $funcstack[1] == _zel3 ]]; then _zel3 \"$@\"; else compdef _zel3 zel3; fi\n";
}

}  // namespace completion
