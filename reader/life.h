#pragma once

#include <memory>

// Tells after a send whether the brick that owns this is still there: a host may deliver at once,
// and a receiver may then end the brick.
class Life {
 public:
  // Expired once the brick is gone. Throws nothing.
  std::weak_ptr<const void> Watch() const { return mToken; }

 private:
  // std::make_shared would need a C++ library that older systems do not have.
  const std::shared_ptr<const void> mToken{new char()};
};
