#pragma once

#include <string>

#include "sdk/brick.h"

// The file of the plug-in, loaded. No block or brick of it may be left when it goes.
class Plugin {
 public:
  explicit Plugin(const char* file);
  ~Plugin();

  // A reader of `source` with its caches in `cacheFolder`; null when the plug-in refuses `kind`.
  CBrick* MakeReader(const std::string& source, const std::string& cacheFolder,
                     const char (&kind)[5] = "Fold") const;

  static bool IsLoaded(const char* file);

 private:
  void* mHandle;
  CBrick* (*mCreateBrick)(TBrickConfig*);
};
