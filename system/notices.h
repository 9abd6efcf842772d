#pragma once

#include <functional>
#include <string>

// Is given what a user should know while work goes on: one line, which may quote texts from outside
// as they are.
using OnNotice = std::function<void(const std::string&)>;
