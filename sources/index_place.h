#pragma once

#include <string>
#include <vector>

#include "indexer/cache_names.h"
#include "sources/private_cache.h"

// Where readers find and leave the index of an archive.
struct IndexPlace {
  std::string folder;        // empty: beside the archive
  bool isPrivate = false;    // a folder of this user alone, which need not exist yet
  std::string whyNotBeside;  // for a private one: a clause for people
  std::string whyNotKept;    // where there is no private folder: a clause for people
};

// `askedFor` is the folder that the user wants, checked, or empty.
//
// The place is beside the archive unless a file there is or could be somebody else's, or no new
// file can be made there; a whole index that is there already is used even where nothing can be
// written. Changes nothing. Throws Failure when no file handle is left, the user interrupts, or the
// archive cannot have its index in the folder asked for.
IndexPlace PlaceOfIndex(const std::string& askedFor, const std::string& archive);

// The same for an archive as it is now: when it has no index beside it, it may have one in the
// folder of this user alone, from when it was still being written.
IndexPlace FindIndex(const std::string& askedFor, const std::string& archive);

// The folder of this user alone for the index of an archive, whether or not it has been made. All
// files of a folder share one.
private_cache::Place PrivatePlaceOf(const std::string& archive);

// The canonical path of the folder that an archive lies in.
std::string CanonicalFolderOf(const std::string& archive);

// The cache files of an archive, for `folder` as above. Those of an archive that readers open
// through a link are named after the link.
CacheNames CacheOf(const std::string& archive, const std::string& folder);

// Whether a reader opens the archive with the cache files there, without making them anew.
bool HasIndex(const std::string& archive, const std::string& folder);

// The names of whatever is where cache files beside the archive would be, but is not one.
std::vector<std::string> StrangersBeside(const std::string& archive);
