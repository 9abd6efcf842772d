#pragma once

#include <memory>
#include <string>

#include "blocks/commands.h"
#include "host/pipeline.h"
#include "reader/zel3_file_reader.h"

// A client that keeps the last block it got.
class LastBlockClient : public CBrick {
 public:
  cMemBlock last;

 protected:
  int onCtrl(cMemBlock& block) override { return Keep(block); }
  int onData(const cMemBlock& block) override { return Keep(block); }
  int onNotify(const cMemBlock& block) override { return Keep(block); }

 private:
  int Keep(const cMemBlock& block) {
    last = block;
    return 1;
  }
};

// A reader with one client after it, as a host would have them. Once constructed, it has opened its
// source and finished the indexing run that this may take.
class ArchiveHost {
 public:
  explicit ArchiveHost(const std::string& source, const std::string& cacheFolder = "");
  ~ArchiveHost();
  ArchiveHost(const ArchiveHost&) = delete;
  ArchiveHost& operator=(const ArchiveHost&) = delete;

  // The last block that the reader sends in answer.
  const cMemBlock& Ask(const cMemBlock& request) {
    mReader->enqueueControl(request);
    Run();
    return mClient->last;
  }

  // How many archives the reader lists.
  std::uint32_t ArchiveCount();

 private:
  // Without a limit on steps it always runs until idle, so the result says nothing.
  void Run() { static_cast<void>(mPipeline.RunUntilIdle()); }

  Pipeline mPipeline;
  std::unique_ptr<LastBlockClient> mClient = std::make_unique<LastBlockClient>();
  std::unique_ptr<CZel3FileReader> mReader = std::make_unique<CZel3FileReader>();
};
