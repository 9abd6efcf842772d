#pragma once

#include <string>
#include <vector>

// Where archives are on disk. Paths are bytes as the system has them; they need not be text in any
// encoding.
namespace archive_source {

// How many bytes of a path fit into the fields of a creation record.
constexpr std::size_t kLongestPath = 260;

// The absolute path of an archive file or folder. Throws Failure when there is neither at `path`.
std::string Locate(const std::string& path);

bool IsFolder(const std::string& source);

// The archive files that a source holds: the file itself, or the files of the folder by name,
// except hidden ones.
std::vector<std::string> Files(const std::string& source);

// Sorts paths by file name, in the order that Files has.
void SortByName(std::vector<std::string>* paths);

// What the user is told about a source that holds no archive file.
std::string NoFilesIn(const std::string& source);
// Throws Failure with it.
[[noreturn]] void FailWithoutFiles(const std::string& source);

// Whether parsers know this kind of file: none knows the older kind, whose names end differently.
bool IsKnownToParsers(const std::string& path);

// The part after the last "/".
std::string FileName(const std::string& path);
// The part before it. REQUIRES: an absolute path.
std::string FolderOf(const std::string& path);

// Without links; the path itself when nothing stands there.
std::string CanonicalPath(const std::string& path);

}  // namespace archive_source
