#include "output/terminal_width.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr std::size_t kMostDigits = 4;

std::optional<std::size_t> AskedWidth() {
  const char* const value = std::getenv("COLUMNS");
  const std::string text = value == nullptr ? "" : value;
  if (text.empty() || text.size() > kMostDigits ||
      text.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  const unsigned long width = std::strtoul(text.c_str(), nullptr, 10);
  return width == 0 ? std::nullopt : std::optional<std::size_t>(width);
}

}  // namespace

std::optional<std::size_t> TerminalWidth(int descriptor) {
  if (isatty(descriptor) != 1) return std::nullopt;
  const std::optional<std::size_t> asked = AskedWidth();
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return asked;
  const std::size_t width = size.ws_col;
  // A shell may have set COLUMNS before the terminal was made narrower.
  return asked ? std::min(*asked, width) : width;
}
