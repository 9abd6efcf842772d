#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/pipeline.h"
#include "support/archive_builder.h"
#include "support/capturing_client.h"
#include "support/index_cache.h"
#include "support/messages.h"
#include "support/scripted_parser.h"
#include "support/temp_folder.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr char kNoAnswerForward[] = "IRN3 none at 3000";

// A reader from the built plug-in with one client after it, as a host would have them, over files
// in a folder of the test's own. At its end no brick and no block is alive.
class ReaderTest : public testing::Test {
 protected:
  ReaderTest();
  void TearDown() override;

  TBrickConfig Config(const std::string& source, const std::string& cacheFolder = "") const;
  // Makes the reader and puts the client after it. Nothing is delivered yet.
  void Open(const std::string& source) { Open(Config(source)); }
  void Open(const TBrickConfig& config);
  // Destroys the reader and lets its children end. Nothing of the plug-in is kept.
  void EndReader();

  void Send(const cMemBlock& block) { reader->enqueueControl(block); }
  void Run();
  // Delivers everything and forgets what the client was told.
  void Settle();

  // What the client got since it was last asked, after everything that waits has been delivered.
  std::vector<cMemBlock> Received();
  Lines Told();
  Lines Ask(const cMemBlock& block);
  // The bytes of the raw data block, the only one, with which the reader answers.
  Bytes BytesFor(const cMemBlock& request);
  // The entries of the archive list, the only answer to the request for it.
  std::vector<TArchiveEntry> ArchiveList();
  // The same entries in words: the archive times from which to which each lasts, "10000-20000".
  Lines ArchiveTimes();

  // Writes a file into the folder. Without `modified` the last one written is the newest.
  std::string Place(const std::string& name, const Bytes& content, std::int64_t modified = 0);
  // The same for an archive, which the parsers then know.
  std::string Place(const std::string& name, const SmallArchive& archive,
                    std::int64_t modified = 0);

  TempFolder folder;
  Pipeline pipeline;
  ParserWorkshop workshop;
  std::unique_ptr<CapturingClient> client;
  std::unique_ptr<CBrick> reader;

 private:
  const long mLiveNodesBefore = cMemBlock::node::LiveCount();
  std::int64_t mLastModified = 1'000'000'000;
};

// The lines that do not start with `start`.
Lines Without(const std::string& start, const Lines& lines);

// Of a file or an answer: from `start` on, at most `count` bytes.
Bytes Part(const Bytes& bytes, std::size_t start, std::size_t count);
Bytes Joined(const Bytes& first, const Bytes& second);

// The 13-byte index record that ends every answer: time 0.
Bytes EndMarker();
// The 13-byte index record that stands for an entry that was not found.
Bytes TimeMarker(std::uint64_t archiveTime);
