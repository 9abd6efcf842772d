#pragma once

#include <map>
#include <string>

// A file of lines "key=value", which other threads and processes may read and append to at the same
// time. Its path stays; it is opened for the time of a call.
//
// Whoever appends holds a lock on the file (flock). A lock that is not to be had within a moment,
// as when its holder has been stopped, is gone without. Nothing but a plain file of moderate size
// is read or written, and nothing waits for it to open.
class SettingsFile {
 public:
  using Values = std::map<std::string, std::string>;

  explicit SettingsFile(const std::string& path) : mPath(path) {}

  // The last value of each key. Empty when the file is missing or unreadable.
  Values Read() const;

  // Appends a line for `key` unless there is one by now, and makes the file and its folder where
  // they are missing. The lines that are there stay as they are. What the file says of the key in
  // the end; `value` also when it cannot be written, with the file as it was as far as that is
  // possible.
  std::string Add(const std::string& key, const std::string& value) const;

 private:
  std::string mPath;
};
