#include "output/live_output.h"

#include <csignal>
#include <iostream>

#include "output/standard_output.h"
#include "system/failure.h"
#include "system/interruption.h"

void FlushLiveOutput() {
  std::cout.flush();
  interruption::Check();
  CheckStandardOutput();
}

void EndWithoutReader() {
  std::raise(SIGPIPE);
  throw Failure("cannot write to the standard output");
}
