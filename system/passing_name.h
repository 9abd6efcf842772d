#pragma once

#include <string>

// The names of files and folders that the program writes in other people's folders until they are
// whole. A program that is killed outright leaves them behind; nobody else gives such names.
namespace passing_name {

// As mkostemps and mkdtemp take it; a suffix may follow.
constexpr char kPattern[] = ".zel3-unfinished-XXXXXX";

bool Is(const std::string& name);

// Whether it is a name such as versions before 1.0.0 gave: .zel3-XXXXXX. Others may give it, too.
bool IsEarlier(const std::string& name);

}  // namespace passing_name
