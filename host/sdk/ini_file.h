#pragma once

#include <map>
#include <string>

#include "sdk_export.h"

// Settings of the host: a text file of lines "key=value" in the settings folder.
class BRICK_SDK_API CIniFile {
 public:
  // Reads the file `name`. A missing or unreadable file has no keys.
  explicit CIniFile(const std::string& name);

  // When on, GetInt writes a missing key with its default back to the file.
  void EnableDefValsCreation(bool enable);

  // The integer under `key`; `defaultValue` when the key is missing or its value is no 32-bit
  // integer.
  int GetInt(const std::string& key, int defaultValue);

 private:
  std::string mPath;
  std::map<std::string, std::string> mValues;
  bool mCreateDefaults = false;
};
