#include "reader/parked.h"

void Parked::Keep(const ChunkRequestBlock& request) {
  if (chunkRequestPending) pendingChunkRequest = request;
}

void Parked::Keep(const ParserChunkRequestBlock& request) {
  if (chunkRequestPending) pendingParserRequest = request;
}
