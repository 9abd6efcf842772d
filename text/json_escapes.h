#pragma once

#include <string>

// The same JSON text, with escapes such as \u202e for the characters that a terminal would obey
// (DEL and the C1 controls; C0 controls are never raw in JSON) or that turn the direction of
// writing. `json` is UTF-8.
std::string WithJsonEscapes(const std::string& json);
