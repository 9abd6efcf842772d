#include "support/folder_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <stdexcept>

namespace {

struct Kind {
  std::uint32_t bit;
  const char* name;
};
constexpr Kind kKinds[] = {
    {IN_CREATE, "made "},        {IN_MODIFY, "written "}, {IN_DELETE, "removed "},
    {IN_MOVED_FROM, "renamed "}, {IN_MOVED_TO, "to "},    {IN_CLOSE_WRITE, "closed "},
};

}  // namespace

FolderWatch::FolderWatch(const std::string& folder)
    : mHandle(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  std::uint32_t bits = 0;
  for (const Kind& kind : kKinds) bits |= kind.bit;
  if (mHandle < 0 || inotify_add_watch(mHandle, folder.c_str(), bits) < 0) {
    throw std::runtime_error("cannot watch " + folder);
  }
}

FolderWatch::~FolderWatch() {
  close(mHandle);
}

std::vector<std::string> FolderWatch::Steps() const {
  std::vector<std::string> steps;
  alignas(inotify_event) char buffer[65536];
  for (ssize_t size; (size = read(mHandle, buffer, sizeof(buffer))) > 0;) {
    for (ssize_t place = 0; place < size;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(buffer + place);
      place += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
      for (const Kind& kind : kKinds) {
        const std::string step = std::string(kind.name) + (event->len > 0 ? event->name : "");
        if ((event->mask & kind.bit) != 0 && (steps.empty() || steps.back() != step))
          steps.push_back(step);
      }
    }
  }
  return steps;
}
