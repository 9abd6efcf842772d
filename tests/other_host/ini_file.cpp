#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

#include "sdk/sdk_export.h"

// The settings of another host: they fill the whole object, and there is no file.
class BRICK_SDK_API CIniFile {
 public:
  explicit CIniFile(const std::string& name);
  ~CIniFile();
  void EnableDefValsCreation(bool enable);
  int GetInt(const std::string& key, int defaultValue);

 private:
  static constexpr unsigned char kFilling = 0xA5;

  // What the plug-in has written into the object, or called on another one, shows.
  void Check() const {
    const auto isFilling = [](unsigned char byte) { return byte == kFilling; };
    if (!std::all_of(std::begin(mBytes), std::end(mBytes), isFilling)) std::abort();
  }

  unsigned char mBytes[16 * sizeof(void*)];
};

CIniFile::CIniFile(const std::string&) {
  std::fill(std::begin(mBytes), std::end(mBytes), kFilling);
}
CIniFile::~CIniFile() {
  Check();
}
void CIniFile::EnableDefValsCreation(bool) {
  Check();
}
int CIniFile::GetInt(const std::string&, int defaultValue) {
  Check();
  return defaultValue;
}
