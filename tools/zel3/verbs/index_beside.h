#pragma once

#include <string>

// An index that readers would take for that of a new archive, because an earlier archive of that
// name left it. Looked for beside the name, and beside the target if that name is a link.

// Throws Failure when such files must not be removed: when they may belong to another archive that
// differs only in its suffix, or to somebody else, or when nothing may be replaced.
void RefuseIndexBeside(const std::string& archive, bool mayReplace);

// REQUIRES: it has not been refused. A file that has such a name but is not an index stays; no
// reader takes it for one either.
void RemoveIndexBeside(const std::string& archive);
