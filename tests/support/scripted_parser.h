#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sdk/brick.h"
#include "support/archive_builder.h"

class ScriptedParser;

// Offers parsers to readers that index a file, and keeps what happens to them. The parsers do not
// parse: they know the archives and recognise them by their bytes.
class ParserWorkshop {
 public:
  // Takes the place of the parser plug-in until its end.
  ParserWorkshop();
  ~ParserWorkshop();
  ParserWorkshop(const ParserWorkshop&) = delete;
  ParserWorkshop& operator=(const ParserWorkshop&) = delete;

  void Learn(const SmallArchive& archive) { archives.push_back(archive); }
  // From now on readers get no parser.
  void Close();

  std::vector<SmallArchive> archives;
  // Whether parsers pull the file through, as a parser does, or wait for the test to act for them.
  bool pullsItself = true;
  // The configurations with which parsers were asked for.
  std::vector<TBrickConfig> orders;
  // The parser that is alive; null when there is none.
  ScriptedParser* current = nullptr;
  // The last notification that a parser got.
  cMemBlock lastNotification;
  // What parsers got, in words: "ctrl CRq3 0 type 2", "data RDat 65535", "notify Warn EOF …",
  // "queued Kill 0", and "gone".
  std::vector<std::string> log;
};

// One parser of a workshop. Borrows the workshop.
class ScriptedParser : public CBrick {
 public:
  explicit ScriptedParser(ParserWorkshop* workshop);
  ~ScriptedParser() override;

  // Asks the brick before it for the next bytes.
  void Pull();
  void SendUpstream(const cMemBlock& block) { SendUp(block); }
  // Sends to the bricks after it.
  void Report(const cMemBlock& block) { SendData(block); }

  // All bytes so far.
  Bytes received;

 protected:
  void enqueueControl(const cMemBlock& block) override;
  int onCtrl(cMemBlock& block) override;
  int onData(const cMemBlock& block) override;
  int onNotify(const cMemBlock& block) override;

 private:
  // The records of the archive that end within the bytes received and have not been sent yet.
  void ReportCompleteRecords();

  ParserWorkshop* mWorkshop;
  std::size_t mReported = 0;
};
