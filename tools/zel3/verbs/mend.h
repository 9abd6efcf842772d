#pragma once

#include <string>

#include "output/output_style.h"

struct MendOptions {
  std::string file;
  std::string output;
  bool mayReplace = false;
  OutputStyle style;
};

// The verb mend: all that is whole in a damaged archive.
int RunMend(const MendOptions& options);
