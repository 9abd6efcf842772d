#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// The words of a command line as the parser is to get them, the last one first. Of words that a
// verb takes many of it would take [a,b] for a list of two; a path like that is written in another
// way.
std::vector<std::string> WordsForParser(const CLI::App& app, int argc, char** argv);
