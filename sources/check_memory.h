#pragma once

#include <optional>
#include <set>
#include <string>

#include "sources/checked_archives.h"

// Remembers in the user's cache home what was found out about the archives of one folder, so that
// the next look at an archive that has not changed costs next to nothing. Where there is no such
// place, or others could write there, nothing is remembered, silently.
class CheckMemory {
 public:
  // `folder` is the canonical path of the folder that the archives lie in.
  explicit CheckMemory(const std::string& folder);
  // Saves.
  ~CheckMemory();
  CheckMemory(const CheckMemory&) = delete;
  CheckMemory& operator=(const CheckMemory&) = delete;

  // What is remembered of the file with this name; nothing when it or its index has changed.
  std::optional<CheckedFacts> Find(const std::string& fileName,
                                   const ArchiveIdentity& identity) const;

  // Whether the archive is the one remembered, but its index is not.
  bool KnowsAnotherIndex(const std::string& fileName, const ArchiveIdentity& identity) const;

  // `identity` is from before the facts were found out. Does nothing when there is no
  // such archive or the identity would not show later changes.
  void Remember(const std::string& fileName, const ArchiveIdentity& identity,
                const CheckedFacts& facts);

  void Forget(const std::string& fileName);

  // Writes what has been remembered and forgotten since the last time, if anything. What another
  // process has remembered meanwhile of other files stays; of two that save at the very same time
  // one may lose what it found out, and will find it out again.
  void Save();

 private:
  void Put(const std::string& text) const;
  void ForgetGone(CheckedArchives* archives) const;

  const std::string mFolder;
  const std::string mFile;  // empty: there is no place for one
  CheckedArchives mArchives;
  std::set<std::string> mChanged;  // names of archives of which something is not saved
};

// The files in which CheckMemory keeps what it remembers.
namespace checked_files {

// The folder that they lie in, which need not exist. Empty when this user has no safe cache home.
std::string Folder();

// The name of the file about the folder with this canonical path.
std::string NameFor(const std::string& folder);

enum class Kind {
  kWhole,
  kEarlier,     // of an earlier version of the program, or empty: never read again
  kUnfinished,  // of a save that did not finish
  kStranger,    // anything else, including what others could have written
};

// What stands at a path in the folder.
Kind KindOf(const std::string& path);

}  // namespace checked_files
