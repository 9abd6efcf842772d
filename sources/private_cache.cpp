#include "sources/private_cache.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "sources/cache_folder.h"
#include "sources/cache_home.h"

namespace private_cache {

namespace {

std::string Parent(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

}  // namespace

Place Find(const std::string& of) {
  const std::string all = cache_home::Path();
  if (all.empty()) return {"", "neither XDG_CACHE_HOME nor HOME names a folder"};
  const std::string path = all + "/" + cache_home::NameFor(of);
  if (!cache_folder::CanBeNamed(path))
    return {"", all + " is longer than 260 bytes or not in ASCII"};
  for (const std::string& folder : {all, path}) {
    if (!cache_home::IsSafe(folder))
      return {"", folder + " is not a folder that only this user can write"};
  }
  return {path, ""};
}

bool Prepare(Place* place) {
  if (place->path.empty()) return false;
  const bool isThere = cache_folder::Make(place->path) &&
                       faccessat(AT_FDCWD, place->path.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  const std::string reason = std::strerror(errno);
  if (isThere && cache_home::IsSafe(Parent(place->path)) && cache_home::IsSafe(place->path))
    return true;
  *place = {"", "cannot write " + place->path + (isThere ? "" : ": " + reason)};
  return false;
}

}  // namespace private_cache
