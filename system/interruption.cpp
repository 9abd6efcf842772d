#include "system/interruption.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "system/failure.h"

namespace interruption {
namespace {

volatile std::sig_atomic_t wanted = 0;

void Note(int) {
  wanted = 1;
}

// Without SA_RESTART, so that a read from the terminal ends, too.
void Take(int signal, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

// A signal ignored from the start stays ignored.
void TakeUnlessIgnored(int signal) {
  struct sigaction now = {};
  sigaction(signal, nullptr, &now);
  if (now.sa_handler == SIG_DFL) Take(signal, Note);
}

}  // namespace

void Watch() {
  Take(SIGINT, Note);
}

void WatchAllEndings() {
  WatchTermination();
  Take(SIGPIPE, SIG_IGN);
}

void WatchTermination() {
  TakeUnlessIgnored(SIGTERM);
  TakeUnlessIgnored(SIGHUP);
}

void Check() {
  if (wanted != 0) throw Failure("interrupted", kExitInterrupted);
}

void Forget() {
  wanted = 0;
}

void WaitFor(pollfd* ready, std::size_t count, std::optional<std::chrono::milliseconds> longest) {
  constexpr int kPerSecond = 1000;
  constexpr long kNanoseconds = 1'000'000;
  timespec time = {};
  if (longest) {
    time.tv_sec = static_cast<time_t>(longest->count() / kPerSecond);
    time.tv_nsec = static_cast<long>(longest->count() % kPerSecond) * kNanoseconds;
  }
  // A signal that comes between the look and the wait is kept back until the wait has begun.
  sigset_t endings;
  sigset_t before;
  sigemptyset(&endings);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&endings, signal);
  pthread_sigmask(SIG_BLOCK, &endings, &before);
  const int result = wanted == 0 ? ppoll(ready, count, longest ? &time : nullptr, &before) : 0;
  const int error = result < 0 ? errno : 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  Check();
  if (error != 0 && error != EINTR)
    throw Failure(std::string("cannot wait: ") + std::strerror(error));
}

}  // namespace interruption
