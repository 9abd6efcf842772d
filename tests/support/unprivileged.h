#pragma once

#include <sys/types.h>

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

// Until the end of a scope this process acts as another user. That user may read everything, so
// that the way to the files of a test is open wherever they lie. Only root can do so; throws
// std::runtime_error for others.
class OtherUser {
 public:
  explicit OtherUser(uid_t user);
  ~OtherUser();
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
};

// From now on the permissions of files hold for the programs that this process becomes. To be
// called in a child process, before it does so.
void BecomeUnprivileged();
