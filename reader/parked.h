#pragma once

#include "blocks/commands.h"

// What waits for the end of an indexing run: the latest request of each kind.
//
// A request is kept only while one is pending, which the end of the run then answers. What is kept
// stays until a later request takes its place, also after the run.
class Parked {
 public:
  // Pending from the request that starts a run, which is itself not kept, to the answer.
  void SetPending(bool pending) { chunkRequestPending = pending; }
  bool IsPending() const { return chunkRequestPending; }

  // Drop the request unless one is pending.
  void Keep(const ChunkRequestBlock& request);
  void Keep(const ParserChunkRequestBlock& request);
  // The one kept last; of time 0 and type 0 before the first.
  const ChunkRequestBlock& ChunkRequest() const { return pendingChunkRequest; }

 private:
  bool chunkRequestPending = false;
  ChunkRequestBlock pendingChunkRequest = ChunkRequestBlock::New();
  // Kept, but never answered: a parser asks again after the answer to the chunk request.
  ParserChunkRequestBlock pendingParserRequest = ParserChunkRequestBlock::New();
};
