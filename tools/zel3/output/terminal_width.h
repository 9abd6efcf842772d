#pragma once

#include <cstddef>
#include <optional>

// How many columns may be used of the terminal that `descriptor` is, as wide as it is now: those
// that it says to have, but no more than COLUMNS in the environment says. Nothing when it is not a
// terminal, or neither is known.
std::optional<std::size_t> TerminalWidth(int descriptor);
