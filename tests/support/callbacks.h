#pragma once

#include "sdk/brick.h"

// Lets a test call the callbacks of a brick as a host does: (brick->*(&Callbacks::onCtrl))(block).
class Callbacks : public CBrick {
 public:
  using CBrick::onCreate;
  using CBrick::onCtrl;
  using CBrick::onData;
  using CBrick::onNotify;
};
