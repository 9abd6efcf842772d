#pragma once

#include <QVector>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// The .hdr file: the positions of the archive's headers, eight bytes each. A fragment at its end is
// not a position.

// Loads the positions of an open file. False, with no positions, when there are none, or no memory
// for them.
bool LoadHeaderPositions(PlainFile& file, QVector<FilePosition>* positions);

// False when writing fails. Throws std::bad_alloc.
bool WriteHeaderPositions(PlainFile& file, const QVector<FilePosition>& positions);
