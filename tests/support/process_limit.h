#pragma once

#include <sys/resource.h>

// Lowers one of the process's limits until the end of a scope.
class ProcessLimit {
 public:
  // `resource` is one of the RLIMIT_ constants. RLIMIT_FSIZE stands in for a full disk: files can
  // be made, but a write that would take one beyond `limit` bytes fails.
  ProcessLimit(int resource, rlim_t limit);
  ~ProcessLimit();
  ProcessLimit(const ProcessLimit&) = delete;
  ProcessLimit& operator=(const ProcessLimit&) = delete;

 private:
  int mResource;
  rlimit mOld;
};
