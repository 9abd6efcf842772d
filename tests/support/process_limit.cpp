#include "support/process_limit.h"

#include <csignal>
#include <stdexcept>

ProcessLimit::ProcessLimit(int resource, rlim_t limit) : mResource(resource), mOld() {
  // A write beyond the limit then fails instead of ending the process.
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit lowered = {};
  const bool known = getrlimit(static_cast<__rlimit_resource>(mResource), &mOld) == 0;
  lowered.rlim_cur = limit;
  lowered.rlim_max = mOld.rlim_max;
  if (!known || setrlimit(static_cast<__rlimit_resource>(mResource), &lowered) != 0) {
    throw std::runtime_error("cannot lower a limit of the process");
  }
}

ProcessLimit::~ProcessLimit() {
  setrlimit(static_cast<__rlimit_resource>(mResource), &mOld);
}
