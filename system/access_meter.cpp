#include "system/access_meter.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>

namespace {

// What the process has read from files so far.
std::uint64_t BytesReadSoFar() {
  std::ifstream counts("/proc/self/io");
  std::string name;
  std::uint64_t count = 0;
  while (counts >> name >> count) {
    if (name == "rchar:") return count;
  }
  return 0;
}

std::optional<std::uint64_t> CountOpenings(int watch) {
  std::uint64_t openings = 0;
  alignas(inotify_event) char events[65536];
  for (ssize_t size; (size = read(watch, events, sizeof(events))) > 0;) {
    for (char* place = events; place < events + size;) {
      const auto* const event = reinterpret_cast<inotify_event*>(place);
      if ((event->mask & IN_Q_OVERFLOW) != 0) return std::nullopt;
      if ((event->mask & IN_ISDIR) == 0) ++openings;
      place += sizeof(inotify_event) + event->len;
    }
  }
  return openings;
}

}  // namespace

AccessMeter::AccessMeter(const std::vector<std::string>& folders)
    : mWatch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), mBytesRead(BytesReadSoFar()) {
  for (const std::string& folder : folders) inotify_add_watch(mWatch, folder.c_str(), IN_OPEN);
}

AccessMeter::~AccessMeter() {
  if (mWatch >= 0) close(mWatch);
}

void AccessMeter::Stop() {
  mBytesRead = BytesReadSoFar() - mBytesRead;
  mFilesOpened = CountOpenings(mWatch);
}
