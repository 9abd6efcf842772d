#include "output/line_history.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "sources/cache_folder.h"
#include "system/file_handle.h"
#include "system/file_status.h"

namespace {

// How much of the end of the file is read.
constexpr std::uint64_t kMostBytes = 128 << 10;
constexpr std::size_t kMostKeptLines = 1000;

std::string FolderIn(const char* variable, const std::string& below) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value + below : std::string();
}

std::string StateFolder() {
  const std::string stateHome = FolderIn("XDG_STATE_HOME", "/zel3");
  return stateHome.empty() ? FolderIn("HOME", "/.local/state/zel3") : stateHome;
}

// Never waits for a pipe. Returns a closed handle for anything that is not a plain file.
FileHandle OpenFile(const std::string& path, int flags) {
  FileHandle file(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR));
  const auto status = file.IsOpen() ? StatusOf(file) : std::nullopt;
  return status && S_ISREG(status->stx_mode) ? std::move(file) : FileHandle();
}

// Of a long file not the start: the first line may then be incomplete.
std::string EndOf(const FileHandle& file) {
  const auto status = StatusOf(file);
  const std::uint64_t size = status ? status->stx_size : 0;
  std::string text(static_cast<std::size_t>(std::min(size, kMostBytes)), '\0');
  const ssize_t count =
      pread(file.Get(), text.data(), text.size(), static_cast<off_t>(size - text.size()));
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  if (size > kMostBytes) text.erase(0, text.find('\n') + 1);
  return text;
}

}  // namespace

LineHistory::LineHistory(const std::string& name)
    : mFolder(StateFolder()), mPath(mFolder + "/" + name) {}

std::vector<std::string> LineHistory::Lines() const {
  std::vector<std::string> lines;
  const FileHandle file = mFolder.empty() ? FileHandle() : OpenFile(mPath, O_RDONLY);
  if (!file.IsOpen()) return lines;
  std::istringstream text(EndOf(file));
  for (std::string line; std::getline(text, line);) {
    // Only lines that were typed are fit for a terminal.
    const bool isTyped = std::none_of(line.begin(), line.end(), [](unsigned char character) {
      return character < ' ' || character == 0x7f;
    });
    if (isTyped && !line.empty()) lines.push_back(line);
  }
  const std::size_t surplus = lines.size() - std::min(lines.size(), kMostKeptLines);
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(surplus));
  return lines;
}

void LineHistory::Add(const std::string& line) const {
  if (mFolder.empty() || !cache_folder::Make(mFolder)) return;
  const FileHandle file = OpenFile(mPath, O_WRONLY | O_APPEND | O_CREAT);
  const std::string text = line + '\n';
  if (!file.IsOpen()) return;
  // In one write, so that lines of two processes stay apart. On a full disk the line is not kept.
  [[maybe_unused]] const ssize_t written = write(file.Get(), text.data(), text.size());
}
