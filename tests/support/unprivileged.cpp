#include "support/unprivileged.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <exception>
#include <stdexcept>

namespace {

// What lets root ignore the permissions of files.
constexpr unsigned kOverride = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;

// Of the thread's first 32 effective capabilities, keeps those in `keep`, and adds those in `add`
// as far as they are permitted. Returns what they were before.
unsigned ChangeCapabilities(unsigned keep, unsigned add) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
  if (syscall(SYS_capget, &header, sets) != 0)
    throw std::runtime_error("cannot read the capabilities");
  const unsigned old = sets[0].effective;
  sets[0].effective = (old & keep) | (add & sets[0].permitted);
  if (syscall(SYS_capset, &header, sets) != 0)
    throw std::runtime_error("cannot set the capabilities");
  return old;
}

}  // namespace

Unprivileged::Unprivileged() : mCapabilities(ChangeCapabilities(~kOverride, 0)) {}

Unprivileged::~Unprivileged() {
  ChangeCapabilities(~0U, mCapabilities);
}

OtherUser::OtherUser(uid_t user) {
  if (geteuid() != 0 || seteuid(user) != 0) throw std::runtime_error("cannot become another user");
  ChangeCapabilities(~0U, 1U << CAP_DAC_READ_SEARCH);
}

OtherUser::~OtherUser() {
  // As another user, the tests that follow would prove nothing.
  if (seteuid(0) != 0) std::terminate();
}

// A user who is not root has nothing to give up, and the calls fail.
void BecomeUnprivileged() {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}
