#pragma once

#include <string>

// Settings that fill the whole object; there is no file.
class CIniFile {
 public:
  CIniFile(const std::string& name);
  ~CIniFile();
  int GetInt(const std::string& key, int defaultValue);
  void EnableDefValsCreation(bool enable);

 private:
  CIniFile(const CIniFile&);
  void Check() const;

  std::string mName;
  unsigned long mAsked;
  void* mSelf[14];
};
