#pragma once

#include <string>

// A mount that only this process sees, until the end of a scope. Throws std::runtime_error where
// the system does not let the process mount anything; ask CanMount first.
class PrivateMount {
 public:
  static bool CanMount();

  // A disk of `bytes` bytes over an existing folder, empty at first.
  static PrivateMount SmallDisk(const std::string& folder, int bytes) {
    return PrivateMount(folder, bytes);
  }
  // A folder, with what is in it, on a disk that cannot be written.
  static PrivateMount ReadOnly(const std::string& folder) { return PrivateMount(folder); }

  ~PrivateMount();
  PrivateMount(const PrivateMount&) = delete;
  PrivateMount& operator=(const PrivateMount&) = delete;

  // Makes more room on a small disk.
  void Grow(int bytes) const;

 private:
  PrivateMount(const std::string& folder, int bytes);
  explicit PrivateMount(const std::string& folder);

  std::string mFolder;
};
