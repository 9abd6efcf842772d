#pragma once

#include <string>

// The same JSON text, in which no character stands raw that a terminal would obey (DEL and the C1
// controls; C0 controls never stand raw in JSON) or that turns the direction of writing: they are
// written as \u202e. `json` is UTF-8.
std::string WithJsonEscapes(const std::string& json);
