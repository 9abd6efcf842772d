#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

// After a command line could not be parsed: what to tell the user when it has a verb or an option
// that is not known, with what may have been meant. Otherwise nothing.
std::optional<std::string> AboutStrayWords(const CLI::App& app);
