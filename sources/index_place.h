#pragma once

#include <string>
#include <vector>

#include "indexer/cache_names.h"

// Where readers find and leave the indexes of the archives of one source. One place serves all of
// them, because a reader is told one.
struct IndexPlace {
  std::string folder;        // empty: beside the archives
  bool isPrivate = false;    // a folder of this user alone, which need not exist yet
  std::string whyNotBeside;  // for a private one: a clause for people
  std::string whyNotKept;    // where there is no private folder: a clause for people
};

// `archives` are those of the source, `others` files of its folder that are not archives.
// `askedFor` is the folder that the user wants, checked, or empty.
//
// Beside an archive is the place unless something of somebody else's, or no new file, could stand
// there; whole indexes that stand there already are used also where nothing can be written. Changes
// nothing. Throws Failure when no file handle is left, the user interrupts, or an archive cannot
// have its index in the folder asked for.
IndexPlace PlaceOfIndexes(const std::string& askedFor, const std::vector<std::string>& archives,
                          const std::vector<std::string>& others);

// The cache files of an archive, for `folder` as above. Those of an archive that readers open
// through a link are named after the link.
CacheNames CacheOf(const std::string& archive, const std::string& folder);

// Whether a reader opens the archive with the cache files there, without making them anew.
bool HasIndex(const std::string& archive, const std::string& folder);

// The names of what stands where cache files beside the archive would stand, and is not one.
std::vector<std::string> StrangersBeside(const std::string& archive);
