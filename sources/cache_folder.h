#pragma once

#include <string>

// A folder for the indexes of a reader, as a creation record names it.
namespace cache_folder {

// Whether a creation record can hold the path: it is short enough, and ASCII, because readers take
// each byte for a character.
bool CanBeNamed(const std::string& path);

// The absolute path, without slashes at its end, of the folder that a user has asked for. Throws a
// usage error when a creation record cannot hold it, when it is not a folder, or when it holds
// anything but indexes: a reader deletes the oldest files there, whosever they are. A folder that
// does not exist is acceptable. Empty for an empty path. Changes nothing.
std::string Checked(const std::string& askedFor);

// Makes a folder, and those that it lies in, for its owner only. False when it cannot be made;
// errno says why.
bool Make(const std::string& path);

}  // namespace cache_folder
