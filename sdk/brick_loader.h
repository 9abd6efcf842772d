#pragma once

#include "sdk/brick.h"
#include "sdk/sdk_export.h"

// Obtains bricks of other plug-ins.
class BRICK_SDK_API CBrickLoader {
 public:
  // A brick of the plug-in known by the four-character tag `signature`; null when there is none,
  // when it refuses the configuration, or when making it fails. The caller keeps the pointer and
  // ends the brick with 'Kill'. Throws nothing.
  static CBrick* CreateBrick(unsigned long signature, TBrickConfig& config);
};
