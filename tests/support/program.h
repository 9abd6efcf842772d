#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "support/temp_folder.h"

// What the console prints when nothing is left to do.
constexpr char kIdle[] = R"({"idle":true})";

struct ProgramResult {
  int exitCode = 0;  // 128 + the number of a signal that ended the program
  std::string out;
  std::string err;
};

// Runs the program zel3 as a user does, with temporary and settings folders of the test's own.
class ProgramTest : public testing::Test {
 protected:
  using Arguments = std::vector<std::string>;

  ProgramTest();

  // Runs the program to its end with `input` on its standard input.
  ProgramResult Run(const Arguments& arguments, const std::string& input = "");

  // Runs another program to its end, found where a shell finds it; exit code 127 when it is not
  // there.
  ProgramResult RunOther(const std::string& program, const Arguments& arguments);

  // Starts the program with its standard input open; Input() writes to it. `prepare` runs in the
  // new process, before the program.
  void Start(
      const Arguments& arguments, const std::function<void()>& prepare = [] {});
  void Input(const std::string& text);
  void CloseInput();
  // Wait until the program has printed `text`, on its standard output or error.
  void WaitForOutput(const std::string& text);
  void WaitForError(const std::string& text);
  void SendSignal(int signal);
  bool HasEnded();
  // The processes that the program has started and not yet seen end.
  std::vector<pid_t> Children() const;
  ProgramResult Finish();

  std::string Out() const;
  std::string Err() const;
  // The temporary folder of the program, and the one under which it keeps its own caches.
  std::string Temporary() const { return mOutputs / "tmp"; }
  std::string CacheHome() const { return mOutputs / "cache"; }
  // A path in the test's folder.
  std::string operator/(const std::string& name) const { return mFolder / name; }
  const std::string& Folder() const { return mFolder.Path(); }

 private:
  void WaitFor(const std::string& text, std::string (ProgramTest::*printed)() const);
  void Launch(const std::string& program, const Arguments& arguments,
              const std::function<void()>& prepare);

  TempFolder mFolder;
  TempFolder mOutputs;
  pid_t mProcess = 0;
  int mInput = -1;
  int mStatus = 0;
};

// Prepares a program that finds no place for indexes but beside archives, and that has no rights
// beyond those of its user.
void WithoutPlaceForIndexes();

// The lines of a text, without their ends.
std::vector<std::string> LinesOf(const std::string& text);
