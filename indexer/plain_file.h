#pragma once

#include <QFile>
#include <QString>

// Opening files that may be anything: a pipe, a folder or a device never blocks and never opens.

// The path exists and is not a plain file, links followed.
bool IsNoPlainFile(const QString& path);

// Opens `file`, which must be closed, on `path`. False when it does not open or is no plain file.
bool OpenPlainFile(QFile& file, const QString& path, QIODevice::OpenMode mode);

// Both paths name one existing file, be it through links of either kind, or are equal.
bool IsSameFile(const QString& path, const QString& other);
