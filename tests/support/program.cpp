#include "support/program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/unprivileged.h"

namespace {

// A program that hangs is ended by the system.
constexpr unsigned kMostSeconds = 60;

void RedirectTo(int descriptor, const std::string& path) {
  dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), descriptor);
}

std::string Text(const std::string& path) {
  const Bytes bytes = ReadFile(path);
  return std::string(bytes.begin(), bytes.end());
}

}  // namespace

ProgramTest::ProgramTest() {
  std::filesystem::create_directory(mOutputs / "tmp");
  std::filesystem::create_directory(mOutputs / "config");
}

ProgramResult ProgramTest::Run(const Arguments& arguments, const std::string& input) {
  Start(arguments);
  Input(input);
  CloseInput();
  return Finish();
}

ProgramResult ProgramTest::RunOther(const std::string& program, const Arguments& arguments) {
  Launch(program, arguments, [] {});
  return Finish();
}

void ProgramTest::Start(const Arguments& arguments, const std::function<void()>& prepare) {
  Launch(ZEL3_PROGRAM, arguments, prepare);
}

void ProgramTest::Launch(const std::string& program, const Arguments& arguments,
                         const std::function<void()>& prepare) {
  std::vector<std::string> texts{program};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  // What an earlier program has printed is not what this one prints.
  for (const char* const name : {"out", "err"}) WriteFile(mOutputs / name, "");
  int input[2];
  if (pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  mProcess = fork();
  if (mProcess < 0) throw std::runtime_error("no process");
  if (mProcess == 0) {
    dup2(input[0], STDIN_FILENO);
    RedirectTo(STDOUT_FILENO, mOutputs / "out");
    RedirectTo(STDERR_FILENO, mOutputs / "err");
    setenv("TMPDIR", (mOutputs / "tmp").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (mOutputs / "config").c_str(), 1);
    setenv("XDG_CACHE_HOME", (mOutputs / "cache").c_str(), 1);
    setenv("TZ", "UTC", 1);
    alarm(kMostSeconds);
    prepare();
    execvp(pointers.front(), pointers.data());
    _exit(127);
  }
  close(input[0]);
  mInput = input[1];
}

void ProgramTest::Input(const std::string& text) {
  signal(SIGPIPE, SIG_IGN);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = write(mInput, text.data() + done, text.size() - done);
    if (written < 0) return;
    done += static_cast<std::size_t>(written);
  }
}

void ProgramTest::CloseInput() {
  if (mInput >= 0) close(mInput);
  mInput = -1;
}

void ProgramTest::WaitForOutput(const std::string& text) {
  WaitFor(text, &ProgramTest::Out);
}

void ProgramTest::WaitForError(const std::string& text) {
  WaitFor(text, &ProgramTest::Err);
}

void ProgramTest::WaitFor(const std::string& text, std::string (ProgramTest::*printed)() const) {
  while ((this->*printed)().find(text) == std::string::npos) {
    if (HasEnded()) throw std::runtime_error("the program has ended without printing " + text);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

void ProgramTest::SendSignal(int number) {
  kill(mProcess, number);
}

bool ProgramTest::HasEnded() {
  if (mProcess != 0 && waitpid(mProcess, &mStatus, WNOHANG) == mProcess) mProcess = 0;
  return mProcess == 0;
}

std::vector<pid_t> ProgramTest::Children() const {
  const std::string process = std::to_string(mProcess);
  std::ifstream file("/proc/" + process + "/task/" + process + "/children");
  return {std::istream_iterator<pid_t>(file), {}};
}

ProgramResult ProgramTest::Finish() {
  if (mProcess != 0) waitpid(mProcess, &mStatus, 0);
  mProcess = 0;
  CloseInput();
  const int exitCode = WIFEXITED(mStatus) ? WEXITSTATUS(mStatus) : 128 + WTERMSIG(mStatus);
  return {exitCode, Out(), Err()};
}

std::string ProgramTest::Out() const {
  return Text(mOutputs / "out");
}

std::string ProgramTest::Err() const {
  return Text(mOutputs / "err");
}

void WithoutPlaceForIndexes() {
  BecomeUnprivileged();
  unsetenv("XDG_CACHE_HOME");
  unsetenv("HOME");
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}
