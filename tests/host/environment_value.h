#pragma once

#include <cstdlib>
#include <string>

// Gives an environment variable a value, or none for null, until the end of a scope.
class EnvironmentValue {
 public:
  EnvironmentValue(const char* variable, const char* value) : mVariable(variable) {
    const char* const old = std::getenv(variable);
    mWasSet = old != nullptr;
    if (mWasSet) mOld = old;
    Put(value);
  }
  ~EnvironmentValue() { Put(mWasSet ? mOld.c_str() : nullptr); }
  EnvironmentValue(const EnvironmentValue&) = delete;
  EnvironmentValue& operator=(const EnvironmentValue&) = delete;

 private:
  void Put(const char* value) const {
    if (value != nullptr) {
      setenv(mVariable, value, 1);
    } else {
      unsetenv(mVariable);
    }
  }

  const char* mVariable;
  bool mWasSet = false;
  std::string mOld;
};
