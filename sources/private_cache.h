#pragma once

#include <string>

// The folders of this user alone for indexes that cannot lie beside their archives: under
// $XDG_CACHE_HOME/zel3, by default ~/.cache/zel3, one for each folder of archives.
namespace private_cache {

struct Place {
  std::string path;    // empty: there is none
  std::string whyNot;  // then; a clause for people
};

// The place for what has the canonical path `of`, whether or not it has been made. None when the
// user has no such folder, when a creation record cannot name it, or when somebody else could have
// put something into it. Changes nothing.
Place Find(const std::string& of);

// Makes the place if needed. False when it cannot be made or written; `whyNot` then says why.
bool Prepare(Place* place);

}  // namespace private_cache
