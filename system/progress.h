#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// How far a piece of work is.
struct WorkState {
  enum class Unit { kBytes, kFiles };

  std::string what;  // is done, as "indexing"
  std::string name;  // of what is worked on; empty when it has none. May hold any text
  // The number of the file at hand, from 1, and of how many; no count when there is one file only.
  std::size_t number = 0;
  std::size_t count = 0;
  // Of all the work. Holes of files that are skipped are not part of it.
  std::uint64_t done = 0;
  std::uint64_t all = 0;  // 0: not known
  Unit unit = Unit::kBytes;
};

// Is told how far a piece of work has come.
class Progress {
 public:
  virtual ~Progress() = default;

  // May be called often. More done than there is counts as all.
  virtual void Show(const WorkState& state) = 0;
  // Nothing is under way any more.
  virtual void Clear() = 0;
};
