#pragma once

#include <functional>

#include "command_line/command_description.h"

// What a command line asks for, ready to run; it returns the exit code. Printing help or the
// version is something to run, too. Throws Failure for a command line that is not understood.
std::function<int()> ParseCommandLine(int argc, char** argv);

// The verbs and options of the command line.
CommandDescription DescribeCommandLine();
