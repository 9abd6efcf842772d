#pragma once

#include <string>

// The index that readers would take for that of a new archive, because an earlier one of such a
// name has left it. Looked for beside the name, and beside where a link of that name leads.

// Throws Failure when such files must not go: when they may be those of another archive of which
// only the suffix differs, or of somebody else, or when nothing may be replaced.
void RefuseIndexBeside(const std::string& archive, bool mayReplace);

// REQUIRES: it has not been refused. What has such a name, but is not an index, stays; then no
// reader takes it for one either.
void RemoveIndexBeside(const std::string& archive);
