#pragma once

#include <QVector>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "indexer/file_index_store.h"

constexpr std::uint32_t kFirstTime = 1'000'000;
constexpr std::uint32_t kBytesPerEntry = 400;

// Entries one index time apart, each with the activity of two streams.
QVector<ZEL_ID3_REC> EntriesFrom(std::uint32_t firstTime, int count);

// Writes or replaces a file in one go.
void WriteBytes(const std::string& path, const void* bytes, std::size_t size);

// Writes the three cache files that begin with `stem` ("/archives/cam."): the entries, the header
// positions, and one event.
void WriteCacheFiles(const std::string& stem, const QVector<ZEL_ID3_REC>& entries,
                     const std::vector<std::uint64_t>& headers = {0});
