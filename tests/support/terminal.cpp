#include "support/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

Terminal::Terminal() : mController(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  if (mController < 0 || grantpt(mController) != 0 || unlockpt(mController) != 0) {
    throw std::runtime_error("no terminal to be had");
  }
  mName = ptsname(mController);
}

Terminal::~Terminal() {
  close(mController);
}

void Terminal::TakeThePlaceOf(int descriptor) const {
  const int opened = open(mName.c_str(), O_RDWR | O_NOCTTY);
  if (opened == descriptor) return;
  dup2(opened, descriptor);
  close(opened);
}

void Terminal::SetWidth(unsigned columns) const {
  winsize size = {};
  size.ws_row = 24;
  size.ws_col = static_cast<unsigned short>(columns);
  if (ioctl(mController, TIOCSWINSZ, &size) != 0)
    throw std::runtime_error("the terminal keeps its width");
}

void Terminal::Type(const std::string& text) const {
  if (write(mController, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("the terminal takes no text");
}

std::string Terminal::WaitFor(const std::string& text) {
  constexpr int kMostMilliseconds = 10000;
  for (int waited = 0; mPending.find(text) == std::string::npos; ++waited) {
    if (waited == kMostMilliseconds)
      throw std::runtime_error("not written: " + text + ", but: " + mPending);
    pollfd terminal = {mController, POLLIN, 0};
    char part[4096];
    // A terminal that no process has opened yet cannot be read.
    const ssize_t size =
        poll(&terminal, 1, 1) == 1 ? read(mController, part, sizeof(part)) : ssize_t{-1};
    if (size > 0) mPending.append(part, static_cast<std::size_t>(size));
    if (size <= 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const std::size_t end = mPending.find(text) + text.size();
  const std::string taken = mPending.substr(0, end);
  mPending.erase(0, end);
  return taken;
}

std::string Terminal::Written() const {
  std::string text = mPending;
  char part[4096];
  for (ssize_t size = 0; (size = read(mController, part, sizeof(part))) > 0;) {
    text.append(part, static_cast<std::size_t>(size));
  }
  return text;
}
