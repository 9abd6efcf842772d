#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

// What the command line offers, as data: completions are made from it, and the manual is checked
// against it.

struct ArgumentDescription {
  std::vector<std::string> names;  // of an option: --output, -o; of a positional argument: SOURCE
  std::string help;
  // PATH, NUMBER or text|json: parts without capital letters are literal, the others stand for a
  // value. Empty: takes none.
  std::string value;
  bool isRequired = false;
  bool mayBeRepeated = false;

  bool TakesValue() const { return !value.empty(); }
  bool TakesPath() const;
  // The literal values: text, json.
  std::vector<std::string> Choices() const;
};

struct VerbDescription {
  std::string name;
  std::string help;
  std::vector<ArgumentDescription> positionals;  // in their order
  std::vector<ArgumentDescription> options;
};

struct CommandDescription {
  // May come before or after the verb.
  std::vector<ArgumentDescription> options;
  std::vector<VerbDescription> verbs;
};

CommandDescription DescribeApp(const CLI::App& app);
