#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "archive/file_window.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// Goes from record to record of an archive by the lengths that they state. Payloads are not read.
class RecordSteps {
 public:
  enum class Kind {
    kHeader,
    kIndex,
    kData,        // or an event
    kImpossible,  // a header that is too short
    kCutOff,      // the record goes on after the end
    kEnd,
  };

  struct Record {
    Kind kind = Kind::kEnd;
    FilePosition position = 0;
    std::uint64_t size = 0;  // of a record that is whole
    bool isZeros =
        false;  // empty data of stream 0; in a hole of the file, all that follow each other
    std::optional<std::uint8_t> type;  // of data, even of data that is cut off
    IDX_T index;                       // of an index record
  };

  // From the record at `from` up to `end`, or to the end of the file if that comes first. Borrows
  // the file, and a window on it if there is one already.
  RecordSteps(const PlainFile& file, FilePosition from, FilePosition end)
      : mFile(file), mOwnWindow(file), mWindow(mOwnWindow), mPosition(from), mEnd(end) {}
  RecordSteps(const PlainFile& file, FileWindow* window, FilePosition from, FilePosition end)
      : mFile(file), mOwnWindow(file), mWindow(*window), mPosition(from), mEnd(end) {}
  RecordSteps(const RecordSteps&) = delete;
  RecordSteps& operator=(const RecordSteps&) = delete;

  // The next record. Only a whole record is passed: after anything else, the same comes again.
  // Where nothing can be read, the file counts as ended.
  Record Next();

 private:
  // The bytes at mPosition; null when fewer are left.
  const unsigned char* Bytes(std::size_t size);
  std::uint64_t SizeOfZeros() const;
  Record Of(Kind kind, std::uint64_t size);

  const PlainFile& mFile;
  FileWindow mOwnWindow;
  FileWindow& mWindow;
  FilePosition mPosition;
  const FilePosition mEnd;
};
