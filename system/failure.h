#pragma once

#include <stdexcept>
#include <string>

// What the program tells its caller when it ends.
enum ExitCode : int {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,
  kExitDamaged = 3,        // done, but something was damaged or skipped
  kExitNothing = 4,        // nothing is recorded at that time
  kExitInterrupted = 130,  // by the user
};

// Why a piece of work cannot be done or finished, and the code with which a program that cannot go
// on ends. The message is one line for people, without the program's name; it may quote texts from
// outside as they are.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, ExitCode exitCode = kExitFailed)
      : std::runtime_error(message), mExitCode(exitCode) {}

  ExitCode Code() const { return mExitCode; }

 private:
  ExitCode mExitCode;
};
