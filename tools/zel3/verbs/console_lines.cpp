#include "verbs/console_lines.h"

#include <iostream>
#include <sstream>
#include <vector>

#include "json/command_completion.h"
#include "json/command_json.h"
#include "output/line_editor.h"
#include "output/line_history.h"
#include "output/tables.h"
#include "text/shown_text.h"

namespace {

class PlainLines : public ConsoleLines {
 public:
  bool Next(std::string* line) override { return static_cast<bool>(std::getline(std::cin, *line)); }
};

// For one command, or for all.
void PrintHelp(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  for (const CommandHelp& command : HelpOfCommands()) {
    if (!name.empty() && command.name != name) continue;
    rows.push_back({command.name, command.help});
    for (const CommandField& field : command.fields)
      rows.push_back({"  " + field.name, "  " + field.help});
  }
  if (rows.empty()) {
    std::cout << "there is no command " << Escaped(name) << '\n';
    return;
  }
  PrintLabelled(rows);
  if (!name.empty()) return;
  std::cout << R"(A line is a command, {"cmd":"CRq3","time":1714521600000,"type":1}, or a list of)"
            << "\nthem, [{...},{...}], to be sent together. Ctrl-D ends.\n";
}

class TypedLines : public ConsoleLines {
 public:
  TypedLines() {
    std::cerr << "help lists the commands, Tab completes them, Ctrl-D ends" << std::endl;
  }

  bool Next(std::string* line) override {
    const std::optional<std::string> typed = mEditor.Next();
    if (!typed) return false;
    *line = *typed;
    if (line->find_first_not_of(" \t") == std::string::npos) return true;
    if (*line != mLast) mHistory.Add(*line);
    mLast = *line;
    std::istringstream words(*line);
    std::string first;
    std::string name;
    words >> first >> name;
    if (first != "help") return true;
    PrintHelp(name);
    line->clear();
    return true;
  }

 private:
  const LineHistory mHistory = LineHistory("console_history");
  std::string mLast;
  LineEditor mEditor =
      LineEditor("zel3> ", mHistory.Lines(), [](const std::string& text, std::size_t* typed) {
        const LineCompletion completion = CompleteCommand(text);
        *typed = completion.typed;
        return completion.words;
      });
};

}  // namespace

std::unique_ptr<ConsoleLines> MakeConsoleLines() {
  if (LineEditor::IsAvailable()) return std::make_unique<TypedLines>();
  return std::make_unique<PlainLines>();
}
