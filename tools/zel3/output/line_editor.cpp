#include "output/line_editor.h"

#include <histedit.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace {

// How many lines can be recalled.
constexpr int kMostLines = 1000;

struct EndEditing {
  void operator()(EditLine* editor) const { el_end(editor); }
};
struct EndHistory {
  void operator()(History* lines) const { history_end(lines); }
};

// The longest start that all words share.
std::string CommonStart(const LineEditor::Words& words) {
  std::string start = words.front();
  for (const std::string& word : words) {
    const auto differs = std::mismatch(start.begin(), start.end(), word.begin(), word.end());
    start.erase(differs.first, start.end());
  }
  return start;
}

}  // namespace

struct LineEditor::Parts {
  std::string prompt;
  Complete complete;
  bool isDropped = false;  // the current line
  std::unique_ptr<History, EndHistory> lines;
  std::unique_ptr<EditLine, EndEditing> editor;

  static Parts* Of(EditLine* editor) {
    void* parts = nullptr;
    el_get(editor, EL_CLIENTDATA, &parts);
    return static_cast<Parts*>(parts);
  }

  static char* Prompt(EditLine* editor) { return Of(editor)->prompt.data(); }

  static unsigned char Drop(EditLine* editor, int) {
    Of(editor)->isDropped = true;
    return CC_NEWLINE;
  }

  static unsigned char CompleteWord(EditLine* editor, int) {
    const LineInfo* const line = el_line(editor);
    const std::string text(line->buffer, line->cursor);
    std::size_t typed = 0;
    const Words words = Of(editor)->complete(text, &typed);
    if (words.empty()) return CC_REFRESH_BEEP;
    const std::string more = CommonStart(words).substr(typed);
    if (!more.empty()) return el_insertstr(editor, more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    if (words.size() == 1) return CC_REFRESH_BEEP;
    std::cout << '\n';
    for (const std::string& word : words) std::cout << word << "  ";
    std::cout << std::endl;
    return CC_REDISPLAY;
  }

  void Remember(const std::string& line) const {
    HistEvent event;
    history(lines.get(), &event, H_ENTER, line.c_str());
  }
};

bool LineEditor::IsAvailable() {
  return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
}

LineEditor::LineEditor(const std::string& prompt, const Words& earlier, Complete complete)
    : mParts(std::make_unique<Parts>()) {
  mParts->prompt = prompt;
  mParts->complete = std::move(complete);
  mParts->lines.reset(history_init());
  mParts->editor.reset(el_init("zel3", stdin, stdout, stderr));
  if (mParts->lines == nullptr || mParts->editor == nullptr) throw std::bad_alloc();
  EditLine* const editor = mParts->editor.get();
  HistEvent event;
  history(mParts->lines.get(), &event, H_SETSIZE, kMostLines);
  history(mParts->lines.get(), &event, H_SETUNIQUE, 1);
  for (const std::string& line : earlier) mParts->Remember(line);

  el_set(editor, EL_CLIENTDATA, mParts.get());
  el_set(editor, EL_PROMPT, Parts::Prompt);
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_HIST, history, mParts->lines.get());
  // A signal that ends the program restores the terminal first.
  el_set(editor, EL_SIGNAL, 1);
  // While a line is edited Ctrl-C is a key.
  el_set(editor, EL_SETTY, "-d", "-isig", nullptr);
  el_set(editor, EL_ADDFN, "drop-line", "Drop the line", Parts::Drop);
  el_set(editor, EL_ADDFN, "complete-word", "Complete the word", Parts::CompleteWord);
  el_set(editor, EL_BIND, "^C", "drop-line", nullptr);
  el_set(editor, EL_BIND, "^I", "complete-word", nullptr);
  el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::Next() {
  std::cout.flush();
  mParts->isDropped = false;
  // Before the prompt, so that what is typed as soon as it appears goes to the editor.
  el_set(mParts->editor.get(), EL_PREP_TERM, 1);
  int size = 0;
  const char* const typed = el_gets(mParts->editor.get(), &size);
  // A discarded line that is empty looks like the end of the input.
  if (mParts->isDropped) {
    el_reset(mParts->editor.get());
    std::cout << "^C" << std::endl;
    return std::string();
  }
  if (typed == nullptr || size <= 0) {
    std::cout << std::endl;
    return std::nullopt;
  }
  std::string line(typed, static_cast<std::size_t>(size));
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  if (line.find_first_not_of(" \t") != std::string::npos) mParts->Remember(line);
  return line;
}
