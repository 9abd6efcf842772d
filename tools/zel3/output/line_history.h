#pragma once

#include <string>
#include <vector>

// The lines that a user has typed, kept for the next time in a text file in $XDG_STATE_HOME/zel3,
// by default ~/.local/state/zel3. Where it cannot be read or written, nothing is kept; errors are
// ignored.
class LineHistory {
 public:
  // `name`: of the file.
  explicit LineHistory(const std::string& name);

  // The oldest first; of very many, only the last thousand or so.
  std::vector<std::string> Lines() const;

  // Adds a line at the end. Lines added by other processes stay.
  void Add(const std::string& line) const;

 private:
  std::string mFolder;  // empty: none
  std::string mPath;
};
