#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

// After a command line could not be parsed: what to tell the user about an unknown verb or option
// in it, with what may have been meant. Nothing if there is none.
std::optional<std::string> AboutStrayWords(const CLI::App& app);
