#pragma once

#include <QString>

// What can be done with a folder when its files are replaced. Paths are those of files in it.

// New files can be made in the folder.
bool MayMakeFilesBeside(const QString& path);
// An existing file may be removed, as far as the folder has a say in it: in some folders, users may
// remove only their own files.
bool MayRemove(const QString& path);
// Brings what was made, renamed or removed in the folder to the disk. False when that fails; true
// for a folder that cannot be opened or does not support it.
bool SyncFolderOf(const QString& path);
