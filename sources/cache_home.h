#pragma once

#include <string>

// The part of the user's cache home that is this program's own: $XDG_CACHE_HOME/zel3, by default
// ~/.cache/zel3.
namespace cache_home {

// Its path, whether or not it has been made. Empty when the user has no cache home.
std::string Path();

// The name under which something is kept there for the file or folder with the canonical path `of`.
std::string NameFor(const std::string& of);

// Whether it has the form of the names that NameFor makes.
bool IsName(const std::string& name);

// Whether only this user can put something into the folder. What does not exist yet is safe,
// because it will be made for its owner only.
bool IsSafe(const std::string& folder);

}  // namespace cache_home
