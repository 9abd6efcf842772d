#pragma once

#include <functional>

// What a command line asks for, ready to run; it returns the exit code. Help and version texts are
// something to run, too. Throws ToolError for a command line that asks for nothing known.
std::function<int()> ParseCommandLine(int argc, char** argv);
