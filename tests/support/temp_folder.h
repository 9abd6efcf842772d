#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A fresh folder for one test, removed with everything in it at the end of its scope.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  // Without a trailing "/".
  const std::string& Path() const { return mPath; }
  // The path of an entry of the folder.
  std::string operator/(const std::string& name) const { return mPath + "/" + name; }

 private:
  std::string mPath;
};

using Bytes = std::vector<unsigned char>;

// Writes or replaces a file.
void WriteFile(const std::string& path, const Bytes& bytes);
void WriteFile(const std::string& path, const std::string& text);
// The whole file; empty when there is none.
Bytes ReadFile(const std::string& path);
bool FileExists(const std::string& path);
// Sets the modification time of a file, in seconds since 1970.
void SetModificationTime(const std::string& path, std::int64_t seconds);
// The names of a folder's entries, sorted.
std::vector<std::string> EntryNames(const std::string& folder);
