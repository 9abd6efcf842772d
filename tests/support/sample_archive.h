#pragma once

#include <string>

#include "blocks/stream_records.h"
#include "parser/framing.h"
#include "samples/scenario.h"
#include "support/temp_folder.h"

// Three short files with a gap of 30 seconds after the first and a change of streams in the second;
// an entry every ten seconds:
//
//   file     0        1         2
//   seconds  0 - 60   90 - 150  150 - 200
//   entries  6        6         5
Scenario SampleScenario();

// The archive time of a second of the sample.
std::uint64_t SampleTime(std::uint32_t second);

// The path of a file of the sample in `folder`.
std::string SampleFile(const std::string& folder, const GroundTruth& truth, std::size_t number);

// The header of a hand-made archive: one video stream, number 1.
ArchiveHeader OneStreamHeader();

// The bytes from `begin` up to `end`.
Bytes Between(const Bytes& bytes, std::uint64_t begin, std::uint64_t end);

Bytes operator+(const Bytes& left, const Bytes& right);

// Lower-case digits, two for a byte.
std::string Hex(const Bytes& bytes);

// An index record without a time: the end of each answer with archive bytes.
extern const char kTerminatingMarker[];
