#pragma once

#include <string>
#include <vector>

// What the system knows about a shared library. REQUIRES: the file is loaded.
namespace loaded_library {

// The names of the libraries that it needs, in its own order.
std::vector<std::string> NeededBy(const std::string& path);

// Whether a function of this name can be called.
bool Offers(const std::string& path, const char* function);

}  // namespace loaded_library
