#pragma once

#include <string>

// Tells the user something on the standard error: one line, after the program's name. May quote
// texts from outside as they are.
void PrintNotice(const std::string& text);
