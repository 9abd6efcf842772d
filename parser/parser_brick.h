#pragma once

#include <cstdint>

#include "brick.h"
#include "framing_parser.h"

// The parser of archives: turns raw archive bytes into typed records, and pulls the bytes from the
// reader before it.
//
// Data: takes 'RDat', sends 'TagP' and 'Hdr3' or 'Idx3', and the data blocks by the kind of their
// stream. After each 'RDat' it sends a 'Tag ' of kind 'TagF': the bytes are used up.
//
// Pulling: an 'IRN3' notification is passed on and answered with a 'PCR3' for the same entry. At
// first the blocks are one stream, as in an indexing run; once an entry has been named they are
// single entries, each of which starts with a record.
//
// Commands of clients go up to the reader; of the reader's commands only the archive list goes
// down.
class ParserBrick final : public CBrick, private FramingSink {
 public:
  ParserBrick();

  bool IsKnownInput(TContentDescriptor const& input) override;
  bool IsKnownOutput(TContentDescriptor const& output) override;

 private:
  int onCtrl(cMemBlock& block) override;
  int onData(cMemBlock const& block) override;
  int onNotify(cMemBlock const& block) override;

  void OnHeader(std::uint64_t position, const ArchiveHeader& header) override;
  void OnIndex(std::uint64_t position, const IDX_T& index) override;
  void OnData(std::uint64_t position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override;

  void PassCommand(const cMemBlock& block);
  void PassNotification(const cMemBlock& block);
  void ParseAndAskForMore(const cMemBlock& block);
  void SendPosition(std::uint64_t position);

  FramingParser mParser;
  bool mBlocksAreEntries = false;
};
