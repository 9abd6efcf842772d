#pragma once

#include <string>

#include "output/output_style.h"

struct DumpOptions {
  std::string source;
  OutputStyle style;
};

// The verb dump: the records of archive files as a parser finds them, read without a reader.
int RunDump(const DumpOptions& options);
