#pragma once

#include <memory>
#include <string>

#include "sdk/sdk_export.h"

// Settings of the host: a text file of lines "key=value" in the settings folder. The host decides
// for each thread which folder that is. Other threads and processes may use the same file at the
// same time, through their own objects: where the file system has locks, no line is lost and no key
// is written twice.
//
// Its size is fixed: plug-ins make such objects on their own stack. Their contents are the host's
// own.
class BRICK_SDK_API CIniFile {
 public:
  // Reads the file `name`. A missing or unreadable file has no keys.
  explicit CIniFile(const std::string& name);
  ~CIniFile();
  CIniFile(const CIniFile&) = delete;
  CIniFile& operator=(const CIniFile&) = delete;

  // When on, GetInt writes a missing key with its default back to the file, unless somebody else
  // has done so since: then it returns that value. A line that cannot be written within a moment is
  // not written.
  void EnableDefValsCreation(bool enable);

  // The integer under `key`; `defaultValue` when the key is missing or its value is not a 32-bit
  // integer.
  int GetInt(const std::string& key, int defaultValue);

 private:
  struct State;
  std::unique_ptr<State> mState;
  // For hosts that keep their settings in the object itself.
  [[maybe_unused]] void* mReserved[15];
};

static_assert(sizeof(CIniFile) == 16 * sizeof(void*) && alignof(CIniFile) == sizeof(void*),
              "plug-ins have it built in");
