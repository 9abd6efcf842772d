#pragma once

#include <map>
#include <string>
#include <vector>

#include "sources/host_options.h"
#include "sources/index_place.h"

// A source as it is found: which of its files are archives, and where their indexes lie. Looking
// changes nothing.
class SourceFacts {
 public:
  // `path` as a user gives it. Throws Failure when there is neither a file nor a folder, when the
  // cache folder asked for is not one, when too few files may be open, or when the user interrupts.
  SourceFacts(const HostOptions& host, const std::string& path);

  // Absolute, as a creation record takes it.
  const std::string& Path() const { return mPath; }
  bool IsFolder() const { return mIsFolder; }

  // The file itself, or the files of the folder with the suffixes of archives, by name.
  const std::vector<std::string>& Files() const { return mFiles; }
  // Those of them that are archives.
  const std::vector<std::string>& Archives() const { return mArchives; }
  // Why the others are not archives: clauses that follow their names. By path.
  const std::map<std::string, std::string>& Others() const { return mOthers; }

  const IndexPlace& Indexes() const { return mIndexes; }
  bool HasIndex(const std::string& archive) const { return ::HasIndex(archive, mIndexes.folder); }
  bool HasAllIndexes() const;

  // Indexes are looked for in this folder from now on.
  void MoveIndexes(const std::string& folder) { mIndexes.folder = folder; }

 private:
  std::string mPath;
  bool mIsFolder;
  std::vector<std::string> mFiles;
  std::vector<std::string> mArchives;
  std::map<std::string, std::string> mOthers;
  IndexPlace mIndexes;
};
