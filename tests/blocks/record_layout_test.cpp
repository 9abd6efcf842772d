#include <gmock/gmock.h>

#include <cstddef>

#include "blocks/chunk_info.h"
#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "sdk/brick_config.h"

// Records are exchanged between separately built modules, so the place of everything in them is
// fixed. A string or a list takes one pointer: 4 bytes in the shipping build.

namespace {

constexpr std::size_t kPointer = sizeof(void*);

static_assert(sizeof(std::string) == kPointer);

struct Place {
  const char* name;
  std::size_t offset;
  std::size_t size;
  std::size_t expectedOffset;
  std::size_t expectedSize;
};

#define PLACE(record, field, expectedOffset, expectedSize)                               \
  {                                                                                      \
#record "::" #field, offsetof(record, field), sizeof(record::field), expectedOffset, \
        expectedSize                                                                     \
  }

const Place kPlaces[] = {
    PLACE(TCmdRequestChunk, time, 0, 8),
    PLACE(TCmdRequestChunk, type, 8, 4),

    PLACE(TZEL3ChunkInfo, indexId, 0, 8),
    PLACE(TZEL3ChunkInfo, time, 8, 8),
    PLACE(TZEL3ChunkInfo, preview, 16, 1),
    PLACE(TZEL3ChunkInfo, timeReached, 17, 1),

    PLACE(TZEL3Play, indexId, 0, 8),
    PLACE(TZEL3Play, time, 8, 8),
    PLACE(TZEL3Play, mode, 16, 4),
    PLACE(TZEL3Play, forward, 20, 1),

    PLACE(TZEL3ActivityRequest, from, 0, 8),
    PLACE(TZEL3ActivityRequest, to, 8, 8),
    PLACE(TZEL3ActivityRequest, binCount, 16, 4),
    PLACE(TZEL3ActivityRequest, streamId, 20, 4),

    PLACE(TCmdGetPreview, time, 0, 8),
    PLACE(TCmdGetPreview, endTime, 8, 8),

    PLACE(TArchiveEntry, startTime, 0, 8),
    PLACE(TArchiveEntry, endTime, 8, 8),
    PLACE(TArchiveEntry, fileNumber, 16, 4),
    PLACE(TArchiveEntry, reserved, 20, 4),
    PLACE(TArchiveEntry, streamMap, 24, 32),

    PLACE(TArchivesInfo, count, 0, 4),
    PLACE(TArchivesInfo, source, 4, kPointer),

    PLACE(TNotifyBase, kind, 0, 4),

    PLACE(TZEL3ChunkRequestNotify, kind, 0, 4),
    PLACE(TZEL3ChunkRequestNotify, info, 4, 18),

    PLACE(TZEL3ResetNotify, kind, 0, 4),
    PLACE(TZEL3ResetNotify, indexId, 4, 8),
    PLACE(TZEL3ResetNotify, time, 12, 8),
    PLACE(TZEL3ResetNotify, mode, 20, 4),
    PLACE(TZEL3ResetNotify, forward, 24, 1),

    PLACE(TActivityGist, kind, 0, 4),
    PLACE(TActivityGist, from, 4, 8),
    PLACE(TActivityGist, to, 12, 8),
    PLACE(TActivityGist, streamId, 20, 4),
    PLACE(TActivityGist, binCount, 24, 4),

    PLACE(TEventListEntry, time, 0, 8),
    PLACE(TEventListEntry, eventType, 8, 1),
    PLACE(TEventListEntry, text, 9, kPointer),

    PLACE(TEventList, kind, 0, 4),
    PLACE(TEventList, events, 4, kPointer),

    PLACE(TNotifyMessage, kind, 0, 4),
    PLACE(TNotifyMessage, sender, 4, 4),
    PLACE(TNotifyMessage, level, 8, 4),
    PLACE(TNotifyMessage, code, 12, 4),
    PLACE(TNotifyMessage, value, 16, 4),
    PLACE(TNotifyMessage, text, 20, kPointer),
    PLACE(TNotifyMessage, detail, 20 + kPointer, kPointer),

    PLACE(STREAM_T, streamId, 0, 1),
    PLACE(STREAM_T, streamActive, 1, 1),
    PLACE(STREAM_T, text1, 2, kPointer),
    PLACE(STREAM_T, text2, 2 + kPointer, kPointer),
    PLACE(STREAM_T, text3, 2 + 2 * kPointer, kPointer),

    PLACE(HDR_T, headerWord0, 0, 4),
    PLACE(HDR_T, headerWord1, 4, 4),
    PLACE(HDR_T, title, 8, kPointer),
    PLACE(HDR_T, streams, 8 + kPointer, 256 * (2 + 3 * kPointer)),
    PLACE(HDR_T, extraText, 520 + 769 * kPointer, 9 * kPointer),

    PLACE(IDX_T, time, 0, 4),
    PLACE(IDX_T, reserved, 4, 4),
    PLACE(IDX_T, indexFlag, 8, 1),

    PLACE(DATA_T, length, 0, 2),
    PLACE(DATA_T, flags, 2, 1),
    PLACE(DATA_T, type, 3, 1),

    PLACE(TParserTag, position, 0, 8),

    PLACE(TStreamTag, head, 0, 16),
    PLACE(TStreamTag, kind, 16, 4),
    PLACE(TStreamTag, value, 20, 4),
    PLACE(TStreamTag, tail, 24, 8),

    PLACE(TBrickConfig, ownerContext, 0, 4),
    PLACE(TBrickConfig, signature, 4, 4),
    PLACE(TBrickConfig, input, 8, 8),
    PLACE(TBrickConfig, output, 16, 8),
    PLACE(TBrickConfig, param, 24, 4),
    PLACE(TBrickConfig, name, 28, 261),
    PLACE(TBrickConfig, sourcePath, 289, 261),
    PLACE(TBrickConfig, cacheFolder, 550, 261),

    PLACE(TContentDescriptor, format, 0, 4),
    PLACE(TContentDescriptor, kind, 4, 4),
};

#undef PLACE

TEST(RecordLayout, HasEveryFieldInItsPlace) {
  for (const Place& place : kPlaces) {
    EXPECT_EQ(place.offset, place.expectedOffset) << place.name;
    EXPECT_EQ(place.size, place.expectedSize) << place.name;
  }
}

TEST(RecordLayout, PutsArchiveEntriesAndLevelsRightAfterTheirRecord) {
  ArchivesBlock archives = ArchivesBlock::New(sizeof(TArchivesInfo) + 2 * 56);
  EXPECT_EQ(reinterpret_cast<char*>(archives.Record().Archives()),
            static_cast<char*>(archives.GetData()) + sizeof(TArchivesInfo));
  ActivityGistBlock gist = ActivityGistBlock::New(28 + 3);
  EXPECT_EQ(gist.Record().Levels(), static_cast<unsigned char*>(gist.GetData()) + 28);
}

}  // namespace
