#pragma once

#include <string>

// Hears how far a piece of work is.
class Progress {
 public:
  virtual ~Progress() = default;

  // `what` may quote texts from outside as they are. A percent above 100 counts as 100.
  virtual void Show(const std::string& what, unsigned percent) = 0;
  // Nothing is under way any more.
  virtual void Clear() = 0;
};
