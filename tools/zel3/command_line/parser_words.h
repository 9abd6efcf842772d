#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// The words of a command line in the form for the parser, last one first. Among sources the parser
// would take [a,b] for a list of two; such a path is written in another way.
std::vector<std::string> WordsForParser(const CLI::App& app, int argc, char** argv);
