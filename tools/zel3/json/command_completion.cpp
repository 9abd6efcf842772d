#include "json/command_completion.h"

#include <algorithm>

#include "json/command_json.h"

namespace {

constexpr char kHelp[] = "help";
constexpr char kBlanks[] = " \t";

// What has been typed so far of the command at the cursor.
struct OpenCommand {
  std::vector<std::string> texts;  // whole JSON texts: keys, and the name of the command
  std::string openText;            // after a quote that is not closed
  bool isInText = false;
  char before = '\0';  // the last character before the open text that is not a blank
};

OpenCommand Read(const std::string& text) {
  OpenCommand open;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char character = text[i];
    if (open.isInText) {
      open.openText += character;
      if (character == '\\' && i + 1 < text.size()) {
        open.openText += text[++i];
      } else if (character == '"') {
        open.openText.pop_back();
        open.texts.push_back(open.openText);
        open.isInText = false;
        open.before = '"';
      }
    } else if (character == '"') {
      open.isInText = true;
      open.openText.clear();
    } else if (character == '{') {
      open = OpenCommand();
      open.before = '{';
    } else if (std::string(kBlanks).find(character) == std::string::npos) {
      open.before = character;
    }
  }
  return open;
}

// Null when none is named yet.
const CommandHelp* Named(const OpenCommand& open, const std::vector<CommandHelp>& commands) {
  const auto key = std::find(open.texts.begin(), open.texts.end(), "cmd");
  if (key == open.texts.end() || key + 1 == open.texts.end()) return nullptr;
  const auto named = std::find_if(commands.begin(), commands.end(),
                                  [&](const auto& command) { return command.name == *(key + 1); });
  return named == commands.end() ? nullptr : &*named;
}

bool Has(const OpenCommand& open, const std::string& text) {
  return std::find(open.texts.begin(), open.texts.end(), text) != open.texts.end();
}

// Keys that may follow, without the quote before them.
std::vector<std::string> Keys(const OpenCommand& open, const std::vector<CommandHelp>& commands) {
  if (!Has(open, "cmd")) return {"cmd\":\""};
  std::vector<std::string> keys;
  const CommandHelp* const command = Named(open, commands);
  if (command == nullptr) return keys;
  for (const CommandField& field : command->fields) {
    if (!Has(open, field.name)) keys.push_back(field.name + "\":");
  }
  return keys;
}

std::vector<std::string> WithStart(const std::string& start, std::vector<std::string> words) {
  for (std::string& word : words) word.insert(0, start);
  return words;
}

LineCompletion CompleteJson(const std::string& text) {
  const std::vector<CommandHelp> commands = HelpOfCommands();
  const OpenCommand open = Read(text);
  LineCompletion completion;
  if (open.isInText) {
    completion.typed = open.openText.size();
    if (open.before == ':' && !open.texts.empty() && open.texts.back() == "cmd") {
      for (const CommandHelp& command : commands)
        completion.words.push_back(command.name + (command.fields.empty() ? "\"}" : "\","));
    } else if (open.before == '{' || open.before == ',') {
      completion.words = Keys(open, commands);
    }
  } else if (open.before == '{' || open.before == ',') {
    completion.words = WithStart("\"", Keys(open, commands));
  } else if (open.before == '[') {
    completion.words = {"{\"cmd\":\""};
  } else if (open.before != ':' && open.before != '}' && open.before != ']' &&
             Named(open, commands) != nullptr) {
    completion.words = WithStart(",\"", Keys(open, commands));
    completion.words.push_back("}");
  }
  return completion;
}

// After "help".
LineCompletion CompleteName(const std::string& typed) {
  LineCompletion completion;
  completion.typed = typed.size();
  for (const CommandHelp& command : HelpOfCommands()) completion.words.push_back(command.name);
  return completion;
}

LineCompletion CompleteAny(const std::string& text) {
  const std::size_t start = text.find_first_not_of(kBlanks);
  const std::string line = start == std::string::npos ? "" : text.substr(start);
  const std::string help = std::string(kHelp) + ' ';
  if (line.compare(0, help.size(), help) == 0) {
    const std::size_t name = line.find_first_not_of(kBlanks, help.size());
    return CompleteName(name == std::string::npos ? "" : line.substr(name));
  }
  if (!line.empty() && (line[0] == '{' || line[0] == '[')) return CompleteJson(line);
  return {line.size(), {kHelp, "{\"cmd\":\""}};
}

}  // namespace

LineCompletion CompleteCommand(const std::string& text) {
  LineCompletion completion = CompleteAny(text);
  const std::string typed = text.substr(text.size() - completion.typed);
  auto& words = completion.words;
  words.erase(std::remove_if(words.begin(), words.end(),
                             [&typed](const std::string& word) {
                               return word.compare(0, typed.size(), typed) != 0;
                             }),
              words.end());
  return completion;
}
