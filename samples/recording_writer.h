#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "archive/archive_writer.h"
#include "blocks/units.h"
#include "samples/ground_truth.h"
#include "samples/random_numbers.h"
#include "samples/scenario.h"

// Writes one file of a scenario and notes down what a reader must find in it. For one use.
class RecordingWriter {
 public:
  // Creates or empties the file at `path`. Borrows the scenario, which must be valid, and the
  // random numbers.
  RecordingWriter(const Scenario& scenario, RandomNumbers& random, std::uint32_t fileNumber,
                  const std::string& path);

  // Writes the entries from `start` up to but not including `end`. The name in the result is empty.
  // Throws std::runtime_error when writing fails.
  GroundTruthFile Write(IndexTime start, IndexTime end);

 private:
  // What an active stream still has to write in an entry.
  struct Source {
    const ScenarioStream* stream;
    std::uint64_t bytesLeft;
    unsigned highestLevel;
  };

  void WriteHeaderWhenDue(std::uint32_t elapsedSeconds);
  bool ApplyChanges(std::uint32_t elapsedSeconds);
  void WriteEntry(IndexTime indexTime);
  std::uint64_t EventCount(bool quiet);
  std::vector<Source> SourcesOfEntry(bool quiet);
  std::uint64_t PayloadBytes(std::uint32_t share, std::uint64_t shares);
  unsigned NextLevel(std::uint8_t streamId, bool quiet);
  void WriteBlocks(std::vector<Source> sources, GroundTruthEntry* entry);
  void WriteBlock(const Source& source, std::size_t size, GroundTruthEntry* entry);
  void FillPayload(std::size_t size);
  void WriteEvent(GroundTruthEntry* entry);

  const Scenario& mScenario;
  RandomNumbers& mRandom;
  ArchiveWriter mWriter;
  ArchiveHeader mHeader;  // the one in force; its streams stand in the scenario's order
  std::vector<ScenarioHeaderChange> mChanges;  // of this file, ascending in time
  std::size_t mNextChange = 0;
  std::array<unsigned, 256> mLevels{};  // by stream id: where its activity has wandered to
  std::set<std::uint8_t> mStreamIds;
  std::vector<unsigned char> mPayload;
  GroundTruthFile mTruth;
};
