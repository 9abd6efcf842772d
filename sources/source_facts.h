#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/check_memory.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "sources/index_place.h"

// A source as it is found: which of its files are archives, and where their indexes lie. Looking
// changes nothing.
class SourceFacts {
 public:
  // `path` as a user gives it. Throws Failure when there is neither a file nor a folder, when the
  // cache folder asked for is not one, when too few files may be open, or when the user interrupts.
  SourceFacts(const HostOptions& host, const std::string& path);
  // Throws also when two archives of different folders would have one index in the cache folder.
  SourceFacts(const HostOptions& host, const GivenSource& source);

  const GivenSource& Given() const { return mGiven; }
  // Absolute, as a creation record takes it.
  const std::string& Path() const { return mGiven.path; }
  bool IsFolder() const { return mGiven.isFolder; }

  // The file itself, or the files of the folder with the suffixes of archives, by name.
  const std::vector<std::string>& Files() const { return mGiven.files; }
  // Those of them that are archives.
  const std::vector<std::string>& Archives() const { return mArchives; }
  // Why the others are not archives: clauses that follow their names. By path.
  const std::map<std::string, std::string>& Others() const { return mOthers; }

  // What people know a file of the source by: its name, with the path from the source's folder when
  // files come from several folders.
  std::string NameOf(const std::string& file) const;

  // What was found out earlier about an archive, if neither it nor its index has changed since;
  // nothing when that is not remembered.
  std::optional<CheckedFacts> Known(const std::string& archive) const;
  // The memory of what is found out about the archives in the folder of this one.
  CheckMemory& MemoryOf(const std::string& archive) const;
  // The archive or its index is about to change.
  void Forget(const std::string& archive);

  // Where the index of an archive lies; of another file, where one would. An archive without one
  // beside it may have one in the folder of this user alone, from when it was still being written.
  const IndexPlace& PlaceOf(const std::string& archive) const;
  std::string IndexFolderOf(const std::string& archive) const;
  CacheNames CacheOf(const std::string& archive) const;
  bool HasIndex(const std::string& archive) const;

  // From now on it is looked for in this folder.
  void MoveIndexOf(const std::string& archive, const std::string& folder);

 private:
  void Recognize(const std::string& file, const std::string& indexFolder);
  void RefuseSharedIndexes() const;

  GivenSource mGiven;
  std::vector<std::string> mArchives;
  std::map<std::string, std::string> mOthers;
  std::map<std::string, IndexPlace> mPlaces;                      // by archive
  std::map<std::string, CheckedFacts> mKnown;                     // by archive
  std::map<std::string, std::shared_ptr<CheckMemory>> mMemories;  // by folder; shared with copies
};
