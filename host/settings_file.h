#pragma once

#include <map>
#include <string>

// A file of lines "key=value", which other threads and processes may read and append to at the same
// time. It is named by its path and opened anew for each call.
//
// Whoever appends holds a lock on the file (flock). When the lock cannot be had within a moment, as
// when its holder has been stopped, reading goes on without it and nothing is appended. Nothing but
// a plain file of moderate size is read or written, and opening it never blocks.
class SettingsFile {
 public:
  using Values = std::map<std::string, std::string>;

  explicit SettingsFile(const std::string& path) : mPath(path) {}

  // The last value of each key. Empty when the file is missing or unreadable.
  Values Read() const;

  // Appends a line for `key` unless there is one by now; makes the file and its folder when they
  // are missing. Existing lines do not change. Returns what the file then says of the key; `value`
  // also when it could not be written, and then the file is left as it was as far as possible.
  std::string Add(const std::string& key, const std::string& value) const;

 private:
  std::string mPath;
};
