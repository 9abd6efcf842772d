#pragma once

#include <iostream>
#include <string>

// Says what was compared, and counts differences.
class Checks {
 public:
  template <class Got, class Wanted>
  void Same(const std::string& what, const Got& got, const Wanted& wanted) {
    if (got == wanted) {
      std::cout << "as expected: " << what << '\n';
      return;
    }
    std::cout << "DIFFERENT: " << what << ": " << got << ", not " << wanted << '\n';
    ++mDifferences;
  }
  void Holds(const std::string& what, bool holds) { Same(what, holds, true); }

  bool AllSame() const { return mDifferences == 0; }

 private:
  int mDifferences = 0;
};
