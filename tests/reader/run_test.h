#pragma once

#include "support/reader_test.h"

// A reader in the middle of an indexing run: the parser waits for the test to act for it.
class RunTest : public ReaderTest {
 protected:
  void SetUp() override { workshop.pullsItself = false; }

  // Opening a single file without cache starts a run.
  void OpenInARun(const std::string& path) {
    Open(path);
    Settle();
    ASSERT_NE(workshop.current, nullptr);
    workshop.log.clear();
    client->pulls.clear();
  }

  ScriptedParser& Parser() { return *workshop.current; }

  // The parser sends a block; what the client is told then.
  Lines Report(const cMemBlock& block) {
    Parser().Report(block);
    return Told();
  }
  // All that a parser finds in an archive.
  void ReportAll(const SmallArchive& archive) {
    for (const ParsedRecord& record : archive.records) Parser().Report(record.block);
    Settle();
  }
  // The end of the file reaches the parser, which passes it on.
  Lines EndRun() { return Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile)); }
};
