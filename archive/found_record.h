#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "blocks/four_cc.h"
#include "blocks/units.h"
#include "parser/framing_parser.h"

// One record of an archive file, or a stretch that is not a record.
struct FoundRecord {
  enum class Kind { kHeader, kIndex, kData, kEvent, kDamage, kCutOff };

  Kind kind = Kind::kDamage;
  FilePosition position = 0;        // in the file
  std::optional<ArchiveTime> time;  // archive time of the last index record
  bool flagged = false;             // of an index record
  std::uint8_t type = 0;            // of data: the stream id; of an event: its type
  Tag streamKind = 0;               // of data: the tag of its blocks
  unsigned level = 0;               // of data and events: 0-31
  std::uint64_t bytes = 0;          // of data and events: the payload; else what is not a record
  std::uint64_t count = 1;          // of empty data: how many such blocks follow each other
  std::string text;                 // of an event
  const ArchiveHeader* header = nullptr;  // of a header; borrowed while the record is handed over
};

// Turns what a parser finds in one file into records, in file order. Blocks of nothing but zeros
// (stream 0, without level and payload) that follow each other become one record: where stream 0 is
// active, a hole in a file is millions of them.
class FoundRecords : public FramingSink {
 public:
  using OnRecord = std::function<void(const FoundRecord&)>;

  explicit FoundRecords(OnRecord onRecord) : mOnRecord(std::move(onRecord)) {}

  // The end of the file: hands over the record that might have been continued.
  void Finish();

  void OnHeader(FilePosition position, const ArchiveHeader& header) override;
  void OnIndex(FilePosition position, const IDX_T& index) override;
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override;
  void OnEmptyData(FilePosition position, std::uint64_t count, Tag kind) override;
  void OnDamage(FilePosition position, std::uint64_t bytes) override;
  void OnCutOff(FilePosition position, std::uint64_t bytes) override;

 private:
  // Hands over a record that nothing continues.
  void Take(const FoundRecord& record);
  FoundRecord At(FilePosition position, FoundRecord::Kind kind) const;

  const OnRecord mOnRecord;
  std::optional<ArchiveTime> mTime;
  std::optional<FoundRecord> mEmpty;  // empty data, as far as it has come
};
