#pragma once

#include <cstdint>
#include <string>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

// The blocks that clients and parsers send to a reader. Times are archive times.

ChunkRequestBlock ChunkRequest(std::uint64_t time, std::uint32_t type = kAtOrBefore);
ParserChunkRequestBlock BytesRequest(std::uint64_t indexId, std::uint64_t time,
                                     std::uint8_t preview = 0);
PlayBlock Play(std::uint8_t forward = 1);
ActivityRequestBlock ActivityRequest(std::uint64_t from, std::uint64_t to, std::int32_t binCount,
                                     std::int32_t streamId);
PreviewRequestBlock PreviewRequest(std::uint64_t time, std::uint64_t endTime);
ArchivesRequestBlock ArchivesRequest();
DataTickBlock DataTick();

// What a parser reports.
cMemBlock ParsedPlace(std::uint64_t position);
cMemBlock ParsedIndex(std::uint32_t indexTime, std::uint8_t indexFlag = 0);
// `kind` is the tag of the block. The head may claim a length other than the payload's.
cMemBlock ParsedData(const DATA_T& head, const std::string& payload, Tag kind = tag::kData);
cMemBlock StreamMark(Tag kind);

cMemBlock Message(Tag level, Tag code);
