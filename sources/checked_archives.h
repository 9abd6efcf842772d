#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "blocks/units.h"
#include "sources/archive_identity.h"

// What was found out about an archive and its index.
struct CheckedFacts {
  std::uint64_t entryCount = 0;
  ArchiveTime start = 0;
  ArchiveTime end = 0;
  ArchiveTime step = 0;
  std::uint64_t misplaced = 0;  // entries with a wrong time
};

struct CheckedArchive {
  ArchiveIdentity identity;
  CheckedFacts facts;
};

// The checked archives of one folder, as they are kept in a file of text:
//
//   zel3 checked 1 COUNT                                  COUNT: see countAtLook
//   NAME ARCHIVE ENTRIES HEADERS EVENTS FACTS             one line for each archive
//
// Fields are separated by one blank. In NAME, blanks, "%" and bytes that are not printable ASCII
// are written as %XX. A file is its size, inode, device, modified and changed, or "-" for none.
// FACTS are the fields of CheckedFacts.
struct CheckedArchives {
  std::map<std::string, CheckedArchive> byName;
  // How many there were when archives that are gone were last looked for.
  std::uint64_t countAtLook = 0;
};

std::string CheckedText(const CheckedArchives& archives);

// Whether it is such a text with other facts, which an earlier version has written.
bool IsEarlierChecked(const std::string& text);

// Whether it begins as such a text does, or is the start of such a beginning.
bool BeginsAsChecked(const std::string& text);

// Nothing unless all of the text is as described.
std::optional<CheckedArchives> CheckedFromText(const std::string& text);
