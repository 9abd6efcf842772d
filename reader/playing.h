#pragma once

#include "blocks/chunk_info.h"

// What a client's commands have set, and which entries the reader has found and sent for it.
//
// After a play command no bytes are served until a chunk request says where to begin.
struct Playing {
  // For another archive: the entries found and sent are not its own.
  void ForgetEntries() { lastChunk = nextChunk = TZEL3ChunkInfo(); }

  bool streamStopped = true;  // until a chunk request of type kAtOrBefore
  bool playForward = true;
  bool eventsSent = false;   // a play command has sent the events
  TZEL3ChunkInfo lastChunk;  // the entry whose bytes were sent last
  TZEL3ChunkInfo nextChunk;  // what the last lookup found, or the answer that it found nothing
};
