#pragma once

#include <CLI/CLI.hpp>

#include "sources/given_sources.h"

// What a verb takes that works on archives. Each adds options to `app` that fill `target`, which
// must live until the command line has been parsed.

// Whether a verb can do without the times that may stand after its sources.
enum class Times { kOptional, kNeeded };

// SOURCE..., which such a verb cannot do without, and --recursive. Times that may stand after the
// sources are positional arguments of the verb, which are added later. Those that are needed are
// the last words, unless options stand for them. Others are told from sources by what they are: a
// word that reads as a time where no file or folder has its name. One that could be both, or is
// neither, is refused.
void AddSources(CLI::App* app, SourceArguments* target, Times times = Times::kOptional);

// --merge
void AddMerge(CLI::App* app, SourceArguments* target);
