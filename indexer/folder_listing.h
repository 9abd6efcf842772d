#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <initializer_list>
#include <vector>

// A file of a folder, as it was when the folder was listed.
struct ListedFile {
  QByteArray name;        // without the folder, as QFile::encodeName gives it
  std::uint64_t size;     // in bytes
  std::int64_t modified;  // in milliseconds
};

// A name as it is in a path. Decoded by itself, a byte-order mark at its front would get lost.
QString DecodedName(const QByteArray& name);

// The plain files of a folder, links followed, whose names end in one of the suffixes (".id3") in
// letters of any case, in the order of the system. Left out are hidden ones, those whose names are
// not text in the system's encoding, and, if asked for, those that may not be read. A link to a
// device, a pipe or a folder is not a plain file. Empty when the folder cannot be read. Throws
// std::bad_alloc.
std::vector<ListedFile> ListFolder(const QString& folder,
                                   std::initializer_list<const char*> suffixes, bool readableOnly);
