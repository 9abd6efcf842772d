#pragma once

#include <string>

// A terminal that a program under test may be given in place of a file.
class Terminal {
 public:
  Terminal();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Makes it so many columns wide; at first it does not say how many it has.
  void SetWidth(unsigned columns) const;
  // Makes `descriptor` of the calling process this terminal.
  void TakeThePlaceOf(int descriptor) const;
  // Types a text, as a user would.
  void Type(const std::string& text) const;
  // Waits until a text has been written to the terminal, and takes all that has come up to its end.
  std::string WaitFor(const std::string& text);
  // What has been written to the terminal so far. REQUIRES: no process holds it any more.
  std::string Written() const;

 private:
  int mController;
  std::string mName;
  std::string mPending;  // has come, and has not been taken
};
