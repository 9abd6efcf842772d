#pragma once

// Until the end of a scope the permissions of files hold for this thread, also when it is root's.
class Unprivileged {
 public:
  Unprivileged();
  ~Unprivileged();
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  unsigned mCapabilities;  // as they were
};
