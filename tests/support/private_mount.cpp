#include "support/private_mount.h"

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace {

// From the first call on, only this process sees what it mounts.
bool HasMountsOfItsOwn() {
  static const bool own =
      unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  return own;
}

void Mount(const char* source, const std::string& folder, const char* type, unsigned long flags,
           const char* options) {
  if (HasMountsOfItsOwn() && mount(source, folder.c_str(), type, flags, options) == 0) return;
  throw std::runtime_error("cannot mount over " + folder + ": " + std::strerror(errno));
}

}  // namespace

bool PrivateMount::CanMount() {
  return HasMountsOfItsOwn();
}

PrivateMount::PrivateMount(const std::string& folder, int bytes) : mFolder(folder) {
  Mount("none", mFolder, "tmpfs", 0, ("size=" + std::to_string(bytes)).c_str());
}

PrivateMount::PrivateMount(const std::string& folder) : mFolder(folder) {
  Mount(mFolder.c_str(), mFolder, nullptr, MS_BIND, nullptr);
  Mount(nullptr, mFolder, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr);
}

PrivateMount::~PrivateMount() {
  umount2(mFolder.c_str(), MNT_DETACH);
}

void PrivateMount::Grow(int bytes) const {
  Mount(nullptr, mFolder, nullptr, MS_REMOUNT, ("size=" + std::to_string(bytes)).c_str());
}
