#pragma once

#include <cstdint>
#include <vector>

#include "blocks/four_cc.h"
#include "blocks/units.h"
#include "parser/framing_parser.h"
#include "sdk/brick.h"

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
//
// A record that cannot be sent for lack of memory is not left out: the parser stays at it, tries
// again at once and whenever it is called, and sends nothing that comes later. It never reports a
// block as used up while one of its records is missing.
class ParserBrick final : public CBrick, private FramingSink {
 public:
  ParserBrick();

  bool IsKnownInput(const TContentDescriptor& input) override;
  bool IsKnownOutput(const TContentDescriptor& output) override;

 private:
  int onCtrl(cMemBlock& block) override;
  int onData(const cMemBlock& block) override;
  int onNotify(const cMemBlock& block) override;

  void OnHeader(FilePosition position, const ArchiveHeader& header) override;
  void OnIndex(FilePosition position, const IDX_T& index) override;
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override;

  void PassCommand(const cMemBlock& block);
  void Take(const cMemBlock& block);
  void GoOn();
  void Handle(const cMemBlock& block);
  void PassNotification(const cMemBlock& block);
  void ParseAndAskForMore(const cMemBlock& block);
  void SendPosition(FilePosition position);
  // Does a step of handling the first of mWaiting, unless it has been done.
  template <class Work>
  void Once(int step, const Work& work);

  FramingParser mParser;
  bool mBlocksAreEntries = false;
  // Data and notifications, in the order of arrival: the one at hand and those that came meanwhile.
  std::vector<cMemBlock> mWaiting;
  int mStepsDone = 0;     // of handling the first of them
  bool mGoingOn = false;  // it is being handled
  bool mStuck = false;    // there was no room for one: nothing is sent any more
  FilePosition mPositionSent = ~FilePosition{0};  // the last one; none yet
};
