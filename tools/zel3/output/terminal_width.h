#pragma once

#include <cstddef>
#include <optional>

// How many columns of the terminal `descriptor` may be used now: as many as it says it has, but no
// more than COLUMNS in the environment. Nothing when it is not a terminal, or neither is known.
std::optional<std::size_t> TerminalWidth(int descriptor);
