#include "support/terminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <stdexcept>

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
  dup2(open(mName.c_str(), O_RDWR | O_NOCTTY), descriptor);
}

std::string Terminal::Written() const {
  std::string text;
  char part[4096];
  for (ssize_t size = 0; (size = read(mController, part, sizeof(part))) > 0;) {
    text.append(part, static_cast<std::size_t>(size));
  }
  return text;
}
