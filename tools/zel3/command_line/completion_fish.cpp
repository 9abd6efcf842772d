#include <fmt/format.h>

#include "command_line/completion.h"

namespace completion {

namespace {

// Finds out where the cursor is, using the table __zel3_takes_value.
constexpr char kPlaceFunction[] = R"(
# Prints the verb, and which of its arguments the cursor is at: "seek at 2", "seek value" for that of
# an option.
function __zel3_place
    set -l verb
    set -l place 1
    set -l is_value no
    for word in (commandline -opc)[2..]
        if test $is_value = yes
            set is_value no
        else if string match -qr -- '^-.' $word
            __zel3_takes_value "$verb" $word; and set is_value yes
        else if test -z "$verb"
            set verb $word
        else
            set place (math $place + 1)
        end
    end
    if test $is_value = yes
        echo "$verb value"
    else
        echo "$verb at $place"
    end
end

complete -c zel3 -f
)";

std::string InFishQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'' || character == '\\') quoted += '\\';
    quoted += character;
  }
  return quoted + "'";
}

// `place` is a pattern of what __zel3_place prints.
std::string LineFor(const std::string& place) {
  return fmt::format("complete -c zel3 -n 'string match -q -- \"{}\" (__zel3_place)'", place);
}

std::string Candidates(const ArgumentDescription& argument) {
  if (argument.TakesPath()) return " -F";
  const std::vector<std::string> choices = argument.Choices();
  return choices.empty() ? "" : fmt::format(" -a '{}'", fmt::join(choices, " "));
}

std::string OptionLine(const std::string& place, const ArgumentDescription& option) {
  std::string line = LineFor(place);
  for (const std::string& name : option.names) {
    line += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (option.TakesValue()) line += option.TakesPath() ? " -r" : " -x";
  return line + Candidates(option) + " -d " + InFishQuotes(option.help) + "\n";
}

void AddNamesWithValue(std::string* patterns, const std::string& verb,
                       const std::vector<ArgumentDescription>& options) {
  for (const ArgumentDescription& option : options) {
    if (!option.TakesValue()) continue;
    for (const std::string& name : option.names) *patterns += " '" + verb + " " + name + "'";
  }
}

void AddVerbLines(std::string* script, const VerbDescription& verb) {
  *script += fmt::format("{} -a {} -d {}\n", LineFor(" at 1"), verb.name, InFishQuotes(verb.help));
  std::size_t place = 0;
  for (const ArgumentDescription& argument : verb.positionals) {
    const std::string values = Candidates(argument);
    ++place;
    const std::string at = argument.mayBeRepeated ? "*" : std::to_string(place);
    if (!values.empty()) *script += LineFor(verb.name + " at " + at) + values + "\n";
    // What follows it has no fixed place.
    if (argument.mayBeRepeated) break;
  }
  for (const ArgumentDescription& option : verb.options) {
    *script += OptionLine(verb.name + " *", option);
  }
}

}  // namespace

std::string FishScript(const CommandDescription& command) {
  std::string patterns;
  AddNamesWithValue(&patterns, "*", command.options);
  for (const VerbDescription& verb : command.verbs) {
    AddNamesWithValue(&patterns, verb.name, verb.options);
  }
  std::string script =
      "# Completes zel3 in fish. Made by: zel3 completion fish\n\n"
      "# Whether the option argv[2] of the verb argv[1] takes a value.\n"
      "function __zel3_takes_value\n    switch \"$argv[1] $argv[2]\"\n        case" +
      patterns + "\n            return 0\n    end\n    return 1\nend\n";
  script += kPlaceFunction;
  for (const ArgumentDescription& option : command.options) script += OptionLine("*", option);
  for (const VerbDescription& verb : command.verbs) AddVerbLines(&script, verb);
  return script;
}

}  // namespace completion
