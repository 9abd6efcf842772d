#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"

struct DumpOptions {
  SourceArguments sources;
  OutputStyle style;
};

// The verb dump: the records of archive files as a parser finds them, read without a reader.
int RunDump(const DumpOptions& options);
