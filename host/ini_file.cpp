#include "sdk/ini_file.h"

#include <charconv>
#include <cstdint>

#include "host/host_settings.h"
#include "host/settings_file.h"
#include "host/settings_folder.h"

namespace {

bool ParseInteger(const std::string& text, std::int32_t* value) {
  const char* first = text.data();
  const char* const end = first + text.size();
  if (text.size() > 1 && *first == '+' && first[1] != '-') ++first;
  const auto result = std::from_chars(first, end, *value);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

struct CIniFile::State {
  explicit State(const std::string& path) : file(path), values(file.Read()) {}

  const SettingsFile file;
  SettingsFile::Values values;
  bool createDefaults = false;
};

CIniFile::CIniFile(const std::string& name) {
  const std::string folder = settings_folder::Get();
  if (!folder.empty()) mState.reset(new State(folder + "/" + name));
}

CIniFile::~CIniFile() = default;

void CIniFile::EnableDefValsCreation(bool enable) {
  if (mState != nullptr) mState->createDefaults = enable;
}

int CIniFile::GetInt(const std::string& key, int defaultValue) {
  const auto& fixedValues = SettingsInForce::Now().fixedValues;
  const auto fixed = fixedValues.find(key);
  if (fixed != fixedValues.end()) return fixed->second;
  if (mState == nullptr) return defaultValue;
  auto found = mState->values.find(key);
  if (found == mState->values.end()) {
    if (!mState->createDefaults) return defaultValue;
    const std::string inFile = mState->file.Add(key, std::to_string(defaultValue));
    found = mState->values.emplace(key, inFile).first;
  }
  std::int32_t value = 0;
  return ParseInteger(found->second, &value) ? value : defaultValue;
}
