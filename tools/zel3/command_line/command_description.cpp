#include "command_line/command_description.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace {

bool IsCapital(char character) {
  return 'A' <= character && character <= 'Z';
}

std::vector<std::string> Parts(const std::string& value) {
  std::vector<std::string> parts;
  std::istringstream stream(value);
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

ArgumentDescription Describe(const CLI::Option& option) {
  ArgumentDescription description;
  for (const std::string& name : option.get_lnames()) description.names.push_back("--" + name);
  for (const std::string& name : option.get_snames()) description.names.push_back("-" + name);
  if (option.get_positional()) description.names.push_back(option.get_name());
  description.help = option.get_description();
  const int mostValues = option.get_items_expected_max();
  if (mostValues > 0) description.value = option.get_type_name();
  description.isRequired = option.get_required();
  description.mayBeRepeated = mostValues > 1;
  return description;
}

VerbDescription DescribeVerb(const CLI::App& app) {
  VerbDescription verb;
  verb.name = app.get_name();
  verb.help = app.get_description();
  for (const CLI::Option* const option : app.get_options()) {
    // --help is an option of the program.
    if (option == app.get_help_ptr()) continue;
    (option->get_positional() ? verb.positionals : verb.options).push_back(Describe(*option));
  }
  return verb;
}

}  // namespace

CommandDescription DescribeApp(const CLI::App& app) {
  CommandDescription description;
  for (const CLI::Option* const option : app.get_options()) {
    description.options.push_back(Describe(*option));
  }
  for (const CLI::App* const verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    description.verbs.push_back(DescribeVerb(*verb));
  }
  return description;
}

bool ArgumentDescription::TakesPath() const {
  const std::vector<std::string> parts = Parts(value);
  return std::find(parts.begin(), parts.end(), "PATH") != parts.end();
}

std::vector<std::string> ArgumentDescription::Choices() const {
  std::vector<std::string> choices = Parts(value);
  const auto standsForAValue = [](const std::string& part) {
    return std::any_of(part.begin(), part.end(), IsCapital);
  };
  choices.erase(std::remove_if(choices.begin(), choices.end(), standsForAValue), choices.end());
  return choices;
}
