#pragma once

#include <QFile>
#include <QString>

// Files of which only the name is known: a pipe, a folder or a device never blocks and never opens.

// The path exists and is not a plain file, links followed.
bool IsNoPlainFile(const QString& path);

// Opens `file`, which must be closed, on `path`. False when it does not open or is no plain file.
bool OpenPlainFile(QFile& file, const QString& path, QIODevice::OpenMode mode);

// Both paths name one existing file, be it through links of either kind, or are equal.
bool IsSameFile(const QString& path, const QString& other);

// Returns when what was written is on the disk. False when that failed.
bool WaitForDisk(QFile& file);
