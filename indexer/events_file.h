#pragma once

#include <QList>

#include "indexer/file_index_store.h"
#include "indexer/plain_file.h"

// The .evt file: event groups, back to back, little-endian.
//
//   group := u32 time, u32 offsetLow, u8 eventCount, event*    as many events as eventCount says
//   event := u8 eventType, text NUL

// Loads the groups of an open file, as far as they are whole. False, with no groups, when there are
// none, or no memory for them.
bool LoadEvents(PlainFile& file, QList<EVT_FILE_DATA_T>* groups);

// False when writing fails. Throws std::bad_alloc.
bool WriteEvents(PlainFile& file, const QList<EVT_FILE_DATA_T>& groups);
