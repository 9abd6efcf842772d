#pragma once

#include "indexer/zel3_indexer.h"
#include "parser/framing_parser.h"

// Collects the index of an archive from what a parser finds in it, as an indexing run does.
class IndexCollector : public FramingSink {
 public:
  // Borrows an indexer whose intake has begun.
  explicit IndexCollector(cZel3Indexer* indexer) : mIndexer(*indexer) {}

  // Indexes do not keep what headers declare.
  void OnHeader(FilePosition position, const ArchiveHeader& /*header*/) override {
    mIndexer.SetRecordPosition(position);
    mIndexer.Add_header(HDR_T());
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    mIndexer.SetRecordPosition(position);
    mIndexer.Add_index(index);
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    mIndexer.Add_block(head, payload, head.length);
  }
  // Empty blocks are neither activity nor events.
  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {}

 private:
  cZel3Indexer& mIndexer;
};
