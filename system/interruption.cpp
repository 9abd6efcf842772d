#include "system/interruption.h"

#include <csignal>

#include "system/failure.h"

namespace interruption {
namespace {

volatile std::sig_atomic_t wanted = 0;

void Note(int) {
  wanted = 1;
}

// Without SA_RESTART, so that a read from the terminal does not outlive the wish.
void Take(int signal, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

// What the user had ignored from the start stays so.
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
  TakeUnlessIgnored(SIGTERM);
  TakeUnlessIgnored(SIGHUP);
  Take(SIGPIPE, SIG_IGN);
}

void Check() {
  if (wanted != 0) throw Failure("interrupted", kExitInterrupted);
}

}  // namespace interruption
