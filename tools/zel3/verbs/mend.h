#pragma once

#include <string>

#include "output/output_style.h"

struct MendOptions {
  std::string file;
  std::string output;
  bool mayReplace = false;
  OutputStyle style;
};

// The verb mend: everything undamaged in a damaged archive, as a new one.
int RunMend(const MendOptions& options);
