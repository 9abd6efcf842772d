#include "interruption.h"

#include <csignal>

#include "tool_error.h"

namespace interruption {
namespace {

volatile std::sig_atomic_t wanted = 0;

void Note(int) {
  wanted = 1;
}

}  // namespace

void Watch() {
  // Without SA_RESTART, so that a read from the terminal does not outlive the wish.
  struct sigaction action = {};
  action.sa_handler = Note;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
}

void Check() {
  if (wanted != 0) throw ToolError("interrupted", kExitInterrupted);
}

}  // namespace interruption
