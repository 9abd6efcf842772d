#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What a user types at a terminal, line by line, with the keys that people are used to: lines can
// be edited, earlier ones come back, a tab completes a word, and Ctrl-C drops a line. Some builds
// have none.
class LineEditor {
 public:
  // How a text before the cursor can go on: whole words, and how many bytes at the end of the text
  // are the start of each.
  using Words = std::vector<std::string>;
  using Complete = std::function<Words(const std::string& text, std::size_t* typed)>;

  // Whether this build has one, and the standard input and output are terminals.
  static bool IsAvailable();

  // `earlier`: lines that come back, the oldest first. REQUIRES: it is available.
  LineEditor(const std::string& prompt, const Words& earlier, Complete complete);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  // The next line, without its end; nothing at the end of the input. A line that is dropped is
  // empty.
  std::optional<std::string> Next();

 private:
  struct Parts;

  std::unique_ptr<Parts> mParts;
};
