#pragma once

#include <CLI/CLI.hpp>

#include "sources/given_sources.h"

// What verbs that work on archives take. Each adds options to `app` that fill `target`, which must
// live until the command line has been parsed.

// Whether a verb can do without the times that may follow its sources.
enum class Times { kOptional, kNeeded };

// SOURCE..., which such a verb requires, and --recursive. Times that may follow the sources are
// positional arguments of the verb, added later. Times that are needed are the last words, unless
// options replace them. Optional ones are told from sources by what they are: a word that reads as
// a time, and no file or folder has its name. A word that could be both, or is neither, is refused.
void AddSources(CLI::App* app, SourceArguments* target, Times times = Times::kOptional);

// --merge
void AddMerge(CLI::App* app, SourceArguments* target);
