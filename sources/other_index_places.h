#pragma once

#include <string>
#include <vector>

// A folder besides the one in use where indexes of an archive may lie: where they were kept while
// nothing could be written beside it, or where a host has left them.
struct OtherIndexPlace {
  std::string folder;
  // Why what lies there is not looked at: a clause that follows the folder's name, such as "a
  // folder of another user". Empty when nobody else can have put it there.
  std::string whyNot;
};

// The folders that exist, for `archive` and the folder in use (empty: beside the archive). Links
// are not followed, and nothing is changed.
std::vector<OtherIndexPlace> OtherIndexPlaces(const std::string& archive, const std::string& inUse);

// Links that stand where hosts of this user would look for a folder of indexes.
std::vector<std::string> LinksForIndexPlaces();

// Why what stands at `path` is not looked at: a clause; empty for a plain file of this user with no
// other name, and when nothing is there.
std::string WhyNotToBeRead(const std::string& path);
