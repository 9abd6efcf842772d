#pragma once

#include <string>
#include <vector>

#include "client/answers.h"
#include "sources/source_facts.h"

// The paths of the archives of a reader's list, in its order: a reader tells files by their numbers
// only. They are known by their times, as their index or first index record says. Empty where none
// fits, or more than one.
std::vector<std::string> FilesOf(const std::vector<ListedArchive>& archives,
                                 const SourceFacts& source);
