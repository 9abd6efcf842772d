#pragma once

#include <map>
#include <string>
#include <vector>

#include "checkup/finding.h"
#include "sources/source_facts.h"

// What runs, saves and verbs that did not end have left behind where the archives of a source and
// their indexes lie. Each folder is looked into once. One that cannot be looked into holds nothing.
class Leftovers {
 public:
  explicit Leftovers(const SourceFacts& source) : mSource(source) {}

  // Unfinished files of the index of an archive that the next run over it does not replace: those
  // with a number in their names. Leaves out those that may still be in the making.
  std::vector<Finding> OfIndex(const std::string& archive);

  // What verbs have begun to write in the folders of the archives.
  std::vector<Finding> OfVerbs();

 private:
  struct Folder {
    std::multimap<std::string, std::string> unfinished;  // names by what stands for the archive
    std::vector<std::string> outputs;
  };

  const Folder& LookInto(const std::string& path);

  const SourceFacts& mSource;
  std::map<std::string, Folder> mFolders;  // by path
};
