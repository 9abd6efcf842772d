#pragma once

#include <string>
#include <vector>

#include "system/failure.h"

// Which timelines a user asks for by naming files and folders.

struct SourceArguments {
  std::vector<std::string> paths;  // as the user gives them
  bool recursive = false;          // also the folders below a folder
  bool merge = false;              // one timeline of all
};

// The files of one timeline.
struct GivenSource {
  std::string path;       // absolute: the one file, or the folder that they lie in or below
  bool isFolder = false;  // not one file
  std::vector<std::string> files;  // absolute, by name; they need not be archives
};

// Why something that was asked for is in no timeline.
struct SourceProblem {
  std::string text;  // for people
  ExitCode exitCode;
};

struct FoundSources {
  std::vector<GivenSource> sources;
  std::vector<SourceProblem> problems;
  // Whether an answer must say which timeline it is of. True also of a single one, when the user
  // has asked for more.
  bool areMany = false;
};

// A single file or folder. Throws Failure when there is neither at `path`.
GivenSource GivenSourceAt(const std::string& path);

// A folder is a timeline; files of one folder that are named one by one are one as well. What is
// named twice, even through links, counts once, and a file that is named along with its folder
// belongs to the folder. In a tree each folder that holds files with the suffixes of archives is a
// timeline, except hidden ones; a folder that links also lead to is looked into once. Throws
// Failure when the user interrupts.
FoundSources FindSources(const SourceArguments& arguments);
