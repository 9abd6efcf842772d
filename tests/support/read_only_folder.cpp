#include "read_only_folder.h"

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <stdexcept>

namespace {

// What lets root pass over the permissions of files.
constexpr unsigned kOverride = 1U << CAP_DAC_OVERRIDE;

// Sets the first 32 effective capabilities of this thread to `wanted` as far as they are permitted.
// Returns what they were.
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

ReadOnlyFolder::ReadOnlyFolder(const std::string& path) : mPath(path) {
  if (chmod(path.c_str(), 0555) != 0) throw std::runtime_error("cannot protect " + path);
  mCapabilities = ChangeCapabilities(~kOverride, 0);
}

ReadOnlyFolder::~ReadOnlyFolder() {
  ChangeCapabilities(~0U, mCapabilities);
  chmod(mPath.c_str(), 0755);
}
