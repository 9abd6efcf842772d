#include "host/settings_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "blocks/cancellation_hold.h"

namespace {

using Clock = std::chrono::steady_clock;

// A settings file is a page of text; anything larger is something else and is left alone.
constexpr off_t kLargestFile = 1 << 20;

// Appending a line takes far less, unless the process has been stopped.
constexpr std::chrono::seconds kPatience(1);
constexpr std::chrono::milliseconds kPause(1);

// A plain file, open until the end of a scope, and its lock, which is released with it.
class OpenFile {
 public:
  // Never waits: anything but a plain file of moderate size counts as one that cannot be opened.
  OpenFile(const std::string& path, int flags)
      : mHandle(open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666)) {
    struct stat status = {};
    if (mHandle < 0 || fstat(mHandle, &status) != 0) return;
    mIsOpen = S_ISREG(status.st_mode) && status.st_size <= kLargestFile;
  }
  ~OpenFile() {
    const CancellationHold hold;
    // A child process may have got the handle, and with it the lock, before it is closed here.
    if (mIsLocked) flock(mHandle, LOCK_UN);
    if (mHandle >= 0) close(mHandle);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool IsOpen() const { return mIsOpen; }

  // Waits for a moment; false when somebody else kept the lock all that time. On a file system
  // without locks everybody gets it. `kind` is LOCK_SH or LOCK_EX.
  bool Lock(int kind) {
    const Clock::time_point end = Clock::now() + kPatience;
    while (flock(mHandle, kind | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) return true;
      if (Clock::now() >= end) return false;
      std::this_thread::sleep_for(kPause);
    }
    mIsLocked = true;
    return true;
  }

  // All of the text; false when some of it cannot be read.
  bool ReadAll(std::string* text) const {
    text->clear();
    char part[4096];
    ssize_t count;
    while ((count = pread(mHandle, part, sizeof(part), End(*text))) > 0)
      text->append(part, static_cast<std::size_t>(count));
    return count == 0;
  }

  // Appends `added` to the text that is there, all of it or nothing.
  void Append(const std::string& present, const std::string& added) const {
    const ssize_t count = write(mHandle, added.data(), added.size());
    if (count <= 0 || count == End(added)) return;
    // Half a line would be a different setting. What somebody else has appended since stays.
    struct stat status = {};
    const bool isLast = fstat(mHandle, &status) == 0 && status.st_size == End(present) + count;
    if (isLast && ftruncate(mHandle, End(present)) != 0) return;
  }

 private:
  static off_t End(const std::string& text) { return static_cast<off_t>(text.size()); }

  int mHandle;
  bool mIsOpen = false;
  bool mIsLocked = false;
};

bool IsUnfinished(const std::string& text) {
  return !text.empty() && text.back() != '\n';
}

std::string WithoutBlanks(const std::string& text) {
  const char* const blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

SettingsFile::Values ParseLines(const std::string& text) {
  SettingsFile::Values values;
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

}  // namespace

SettingsFile::Values SettingsFile::Read() const {
  OpenFile file(mPath, O_RDONLY);
  if (!file.IsOpen()) return {};
  std::string text;
  file.ReadAll(&text);
  // Its last line may still be being written.
  if (IsUnfinished(text) && file.Lock(LOCK_SH)) file.ReadAll(&text);
  return ParseLines(text);
}

std::string SettingsFile::Add(const std::string& key, const std::string& value) const {
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(mPath).parent_path(), ignored);
  OpenFile file(mPath, O_RDWR | O_APPEND | O_CREAT);
  if (!file.IsOpen() || !file.Lock(LOCK_EX)) return value;
  std::string present;
  // What cannot be read may hold the key.
  if (!file.ReadAll(&present)) return value;
  const Values values = ParseLines(present);
  const auto found = values.find(key);
  if (found != values.end()) return found->second;
  file.Append(present, (IsUnfinished(present) ? "\n" : "") + key + "=" + value + "\n");
  return value;
}
