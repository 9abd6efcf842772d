#include "sdk/ini_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <map>

#include "host/settings_folder.h"

namespace {

// A settings file is a page of text; what is larger is something else and is left alone.
constexpr off_t kLargestFile = 1 << 20;

// A plain file that is open for the time of a scope.
class PlainFile {
 public:
  // Never waits: anything but a plain file of moderate size counts as one that cannot be opened.
  PlainFile(const std::string& path, int flags)
      : mHandle(open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666)) {
    struct stat status = {};
    if (mHandle < 0 || fstat(mHandle, &status) != 0) return;
    mIsOpen = S_ISREG(status.st_mode) && status.st_size <= kLargestFile;
  }
  ~PlainFile() {
    if (mHandle >= 0) close(mHandle);
  }
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;

  bool IsOpen() const { return mIsOpen; }

  std::string ReadAll() const {
    std::string text;
    char part[4096];
    for (ssize_t count; (count = read(mHandle, part, sizeof(part))) > 0;) {
      text.append(part, static_cast<std::size_t>(count));
    }
    return text;
  }

  void Write(const std::string& text) const {
    std::size_t done = 0;
    while (done < text.size()) {
      const ssize_t count = write(mHandle, text.data() + done, text.size() - done);
      if (count <= 0) return;
      done += static_cast<std::size_t>(count);
    }
  }

 private:
  int mHandle;
  bool mIsOpen = false;
};

std::string WithoutBlanks(const std::string& text) {
  const char* const blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::map<std::string, std::string> ParseLines(const std::string& text) {
  std::map<std::string, std::string> values;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string line = WithoutBlanks(text.substr(start, end - start));
    start = end + 1;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || line[0] == '#' || line[0] == ';') continue;
    values[WithoutBlanks(line.substr(0, equals))] = WithoutBlanks(line.substr(equals + 1));
  }
  return values;
}

bool ParseInteger(const std::string& text, std::int32_t* value) {
  const char* first = text.data();
  const char* const end = first + text.size();
  if (text.size() > 1 && *first == '+' && first[1] != '-') ++first;
  const auto result = std::from_chars(first, end, *value);
  return result.ec == std::errc() && result.ptr == end;
}

// Leaves the lines that are there as they are. A failure is not reported: the default then holds,
// as before.
void AppendLine(const std::string& path, const std::string& line) {
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  const PlainFile file(path, O_RDWR | O_APPEND | O_CREAT);
  if (!file.IsOpen()) return;
  const std::string present = file.ReadAll();
  const bool isLineOpen = !present.empty() && present.back() != '\n';
  file.Write((isLineOpen ? "\n" : "") + line + "\n");
}

}  // namespace

struct CIniFile::State {
  std::string path;
  std::map<std::string, std::string> values;
  bool createDefaults = false;
};

CIniFile::CIniFile(const std::string& name) : mState(new State) {
  const std::string folder = settings_folder::Get();
  if (folder.empty()) return;
  mState->path = folder + "/" + name;
  const PlainFile file(mState->path, O_RDONLY);
  if (file.IsOpen()) mState->values = ParseLines(file.ReadAll());
}

CIniFile::~CIniFile() = default;

void CIniFile::EnableDefValsCreation(bool enable) {
  mState->createDefaults = enable;
}

int CIniFile::GetInt(const std::string& key, int defaultValue) {
  const auto found = mState->values.find(key);
  if (found != mState->values.end()) {
    std::int32_t value = 0;
    return ParseInteger(found->second, &value) ? value : defaultValue;
  }
  if (mState->createDefaults && !mState->path.empty()) {
    const std::string text = std::to_string(defaultValue);
    AppendLine(mState->path, key + "=" + text);
    mState->values[key] = text;
  }
  return defaultValue;
}
