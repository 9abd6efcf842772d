#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/stream_records.h"
#include "indexer/file_index_store.h"
#include "indexer/zel3_indexer.h"

// Files of an archive in one line each, and what an indexer holds as short texts.

QString Path(const std::string& path);
std::string Text(const QString& text);

IDX_T IndexAt(std::uint32_t time, std::uint8_t flag = 0);
ZEL_ID3_REC EntryAt(std::uint32_t time, std::uint64_t position = 0);

// A fully indexed file with an entry at each index time. It lasts from the smallest to the largest
// of them; a file without entries has the range of a store after its reset.
sFile_Index_Store FileOf(const std::string& name, const std::vector<std::uint32_t>& times);
// The same, lasting to `endTime`.
sFile_Index_Store FileOf(const std::string& name, const std::vector<std::uint32_t>& times,
                         std::uint32_t endTime);
// The same with only head and tail known.
sFile_Index_Store Partial(sFile_Index_Store store);

// Makes a file current with a bare entry at each index time, and files it.
void CollectBareEntries(cZel3Indexer& index, const std::string& name,
                        const std::vector<std::uint32_t>& times);
void FileAll(cZel3Indexer& index, const std::vector<sFile_Index_Store>& stores);
std::vector<std::string> FileNames(const cZel3Indexer& index);

using Texts = std::vector<std::string>;

// "100@5000", with flags "100@5000 flags 80", with activity "100@5000 5:14 6:2".
std::string Shown(const ZEL_ID3_REC& record);
Texts Shown(const QVector<ZEL_ID3_REC>& records);
// "100@5000 x2 80'door' 81''": the group's count, then what it holds.
std::string Shown(const EVT_FILE_DATA_T& group);
Texts Shown(const QList<EVT_FILE_DATA_T>& groups);

std::vector<std::uint64_t> Positions(const QVector<FilePosition>& positions);
QVector<FilePosition> AsPositions(const std::vector<std::uint64_t>& positions);
