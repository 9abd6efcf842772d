#pragma once

#include <optional>
#include <string>

#include "system/passing_folder.h"

// The path under which a reader opens an archive. A creation record holds no path of more than 260
// bytes, and none that is not text in the system's encoding; an archive with such a path is opened
// through a link, and its index is named after the link.
class ReaderPath {
 public:
  enum class Links {
    kKept,     // may be left in the private folder of the archive's folder
    kPassing,  // are gone at the end of the scope
  };

  // Makes the link where one is needed. Throws Failure when it cannot be made.
  ReaderPath(const std::string& archive, Links links);

  const std::string& Path() const { return mPath; }

 private:
  std::string mPath;
  std::optional<PassingFolder> mFolder;
};

namespace reader_path {

// Whether a creation record can hold the path itself.
bool CanBeNamed(const std::string& path);

// The name of the link to an archive, made from its own name: ASCII, with the suffix of the archive
// in lower case.
std::string LinkName(const std::string& archive);

// Whether it has the form of the names that LinkName makes.
bool IsLinkName(const std::string& name);

// Where the index of an archive lies when those of its source lie in `folder` (empty: beside the
// archives). Nothing can lie beside an archive that is opened through a link: its index is in the
// private folder of its folder, and nowhere when there is none.
std::string IndexFolderOf(const std::string& archive, const std::string& folder);

}  // namespace reader_path
