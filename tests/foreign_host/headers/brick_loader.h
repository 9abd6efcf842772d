#pragma once

#include "brick.h"

class CBrickLoader {
 public:
  enum { kParser = 'sraP' };
  static CBrick* CreateBrick(unsigned long signature, TBrickConfig& config);
};
