#pragma once

#include <QString>

// What can be done with a folder when its files are replaced. Paths are those of files in it.

// New files can be made in the folder.
bool MayMakeFilesBeside(const QString& path);
// An existing file may be removed, as far as the folder has a say in it: in some folders everybody
// removes only files of their own.
bool MayRemove(const QString& path);
// What has been made, renamed or removed in the folder is on the disk. False when that fails; a
// folder that cannot be asked for it has done what it can.
bool SyncFolderOf(const QString& path);
