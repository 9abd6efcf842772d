#pragma once

#include <sys/types.h>

#include <string>

// A fresh folder that only this user can look into, removed with everything in it at the end of its
// scope, even when the user interrupts the program or nobody reads its output any more. Forked
// copies of the process leave it alone.
class PassingFolder {
 public:
  // Under an existing folder. Throws Failure when it cannot be made.
  explicit PassingFolder(const std::string& parent);
  ~PassingFolder();
  PassingFolder(const PassingFolder&) = delete;
  PassingFolder& operator=(const PassingFolder&) = delete;

  const std::string& Path() const { return mPath; }

 private:
  std::string mPath;
  const pid_t mOwner;
};
