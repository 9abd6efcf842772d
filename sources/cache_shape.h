#pragma once

#include <string>

// Tells cache files from strangers that have the name of one, so that nobody's file is emptied,
// removed or taken for an index. A cache file has neither a magic number nor a checksum, but few
// other files have its shape.

enum class CacheKind { kEntries, kHeaders, kEvents };

// Whether something stands at `path` that is not a cache file of this kind: it does not have the
// shape of one from start to end, cannot be read, or is a link of either kind, a folder, a pipe or
// a device. An empty file is the cache of an unfinished run. Throws Failure when no file handle is
// left or the user interrupts.
bool IsStranger(const std::string& path, CacheKind kind);

// The same, but only the start of a file is looked at. For places where the name says much, and
// where a file may still be being written.
bool BeginsAsStranger(const std::string& path, CacheKind kind);
