#pragma once

#include <string>

// Tells cache files from strangers that have the name of one, so that nobody's file is emptied,
// removed or taken for an index. Neither a magic number nor a checksum stands in a cache file, but
// few other files have the shape of one.

enum class CacheKind { kEntries, kHeaders, kEvents };

// Whether something stands at `path` that is not a cache file of this kind: it has not the shape of
// one from its start to its end, cannot be read, or is a link of either kind, a folder, a pipe or a
// device. An empty file is the cache of an unfinished run. Throws Failure when no file handle is
// left or the user interrupts.
bool IsStranger(const std::string& path, CacheKind kind);

// The same, but only the start of a file is looked at. For places where the name says much, and
// where a file may just be written.
bool BeginsAsStranger(const std::string& path, CacheKind kind);
