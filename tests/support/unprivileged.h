#pragma once

// Until the end of a scope the permissions of files hold for this thread, even when it is root's.
class Unprivileged {
 public:
  Unprivileged();
  ~Unprivileged();
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  unsigned mCapabilities;  // as they were
};

// From now on the permissions of files hold for the programs that this process becomes. To be
// called in a child process, before it does so.
void BecomeUnprivileged();
