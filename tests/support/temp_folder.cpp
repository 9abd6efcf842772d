#include "support/temp_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr)
    throw std::runtime_error("cannot make a folder like " + pattern);
  mPath = pattern.c_str();
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(mPath, ignored);
}

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

void WriteFile(const std::string& path, const std::string& text) {
  WriteFile(path, Bytes(text.begin(), text.end()));
}

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

bool FileExists(const std::string& path) {
  return std::filesystem::exists(path);
}

void SetModificationTime(const std::string& path, std::int64_t seconds) {
  timespec times[2] = {};
  times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(seconds);
  if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}

std::vector<std::string> EntryNames(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}
