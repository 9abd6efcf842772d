#pragma once

#include <string>
#include <vector>

// The lines that a user has typed, kept for the next time in $XDG_STATE_HOME/zel3, by default
// ~/.local/state/zel3: a file of text, a line each. Where it cannot be read or written nothing is
// kept, without a word.
class LineHistory {
 public:
  // `name` of the file.
  explicit LineHistory(const std::string& name);

  // The oldest first; only the last thousand or so of very many.
  std::vector<std::string> Lines() const;

  // Adds a line to the end. Those of other processes stay.
  void Add(const std::string& line) const;

 private:
  std::string mFolder;  // empty: there is none
  std::string mPath;
};
