#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Reads lines that a user types at a terminal, with the usual keys: lines can be edited, earlier
// ones recalled, Tab completes a word, and Ctrl-C discards the line. Some builds have none.
class LineEditor {
 public:
  // How the text before the cursor can continue: whole words, and how many bytes at the end of the
  // text are the start of each.
  using Words = std::vector<std::string>;
  using Complete = std::function<Words(const std::string& text, std::size_t* typed)>;

  // Whether this build has an editor, and the standard input and output are terminals.
  static bool IsAvailable();

  // `earlier`: lines to recall, the oldest first. REQUIRES: it is available.
  LineEditor(const std::string& prompt, const Words& earlier, Complete complete);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  // The next line, without its end; nothing at the end of the input. A discarded line is returned
  // as empty.
  std::optional<std::string> Next();

 private:
  struct Parts;

  std::unique_ptr<Parts> mParts;
};
