#include "command_line/parser_words.h"

#include <algorithm>

#include "command_line/command_description.h"

namespace {

bool TakesValue(const std::string& option, const std::vector<ArgumentDescription>& options) {
  return std::any_of(options.begin(), options.end(), [&option](const ArgumentDescription& each) {
    return each.TakesValue() &&
           std::find(each.names.begin(), each.names.end(), option) != each.names.end();
  });
}

bool TakesManyWords(const VerbDescription& verb) {
  return !verb.positionals.empty() && verb.positionals.front().mayBeRepeated;
}

bool IsBracketed(const std::string& word) {
  return word.size() > 1 && word.front() == '[' && word.back() == ']';
}

}  // namespace

std::vector<std::string> WordsForParser(const CLI::App& app, int argc, char** argv) {
  const CommandDescription command = DescribeApp(app);
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  auto verb = command.verbs.end();
  bool isValue = false;
  for (std::string& word : words) {
    if (isValue) {
      isValue = false;
    } else if (verb == command.verbs.end()) {
      verb = std::find_if(command.verbs.begin(), command.verbs.end(),
                          [&word](const VerbDescription& each) { return each.name == word; });
      isValue = TakesValue(word, command.options);
    } else {
      isValue = TakesValue(word, command.options) || TakesValue(word, verb->options);
      if (TakesManyWords(*verb) && IsBracketed(word)) word.insert(0, "./");
    }
  }
  std::reverse(words.begin(), words.end());
  return words;
}
