#include "inspection/loaded_library.h"

#include <dlfcn.h>
#include <link.h>

#include <cassert>
#include <memory>

namespace loaded_library {

namespace {

struct Closed {
  void operator()(void* handle) const { dlclose(handle); }
};

std::unique_ptr<void, Closed> HandleOf(const std::string& path) {
  std::unique_ptr<void, Closed> handle(dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD));
  assert(handle != nullptr);
  return handle;
}

}  // namespace

std::vector<std::string> NeededBy(const std::string& path) {
  const auto handle = HandleOf(path);
  link_map* map = nullptr;
  if (dlinfo(handle.get(), RTLD_DI_LINKMAP, &map) != 0) return {};
  const char* texts = nullptr;
  for (const auto* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) texts = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  }
  std::vector<std::string> names;
  for (const auto* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_NEEDED) names.push_back(texts + entry->d_un.d_val);
  }
  return names;
}

bool Offers(const std::string& path, const char* function) {
  return dlsym(HandleOf(path).get(), function) != nullptr;
}

}  // namespace loaded_library
