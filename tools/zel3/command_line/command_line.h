#pragma once

#include <functional>

#include "command_line/command_description.h"

// What a command line asks for, ready to run; it returns the exit code. Help and version texts are
// something to run, too. Throws Failure for a command line that asks for nothing known.
std::function<int()> ParseCommandLine(int argc, char** argv);

// The verbs and options that a command line may consist of.
CommandDescription DescribeCommandLine();
