#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "parser/framing.h"

// Writes one well-formed archive file, record by record: a header comes first, an index record
// follows every header (unless the file ends there), and data follows an index record, and is an
// event or belongs to a stream that the last header declares active.
//
// What would break this is refused with std::invalid_argument; then nothing is written and the
// writer stays usable. A disk failure throws std::runtime_error, at once or from a later call,
// because writing is buffered. Both say why in one line.
class ArchiveWriter {
 public:
  // Creates or empties the file.
  explicit ArchiveWriter(const std::string& path);
  // Closes the file, ignoring errors.
  ~ArchiveWriter() = default;
  ArchiveWriter(const ArchiveWriter&) = delete;
  ArchiveWriter& operator=(const ArchiveWriter&) = delete;

  // Where the next record will stand, in bytes from the start of the file.
  FilePosition Position() const { return mPosition; }

  // Refuses streams whose id is an event type or 0xB5, texts that hold a NUL, and a header that is
  // too long.
  void WriteHeader(const ArchiveHeader& header);
  void WriteIndex(const IDX_T& index);
  // `type` is a stream id or an event type; bits 0-4 of `flags` are the activity level. Refuses
  // more than 65535 bytes.
  void WriteData(std::uint8_t type, std::uint8_t flags, const unsigned char* payload,
                 std::size_t size);

  // Writes what is buffered. Nothing may be written afterwards.
  void Close();

 private:
  void Append(const unsigned char* bytes, std::size_t size);
  void CheckStreams(const ArchiveHeader& header) const;

  // What may come next.
  enum class State { kNeedsHeader, kNeedsIndex, kTakesAll };

  std::string mPath;
  std::vector<char> mBuffer;  // used by mFile
  std::ofstream mFile;
  FilePosition mPosition = 0;
  State mState = State::kNeedsHeader;
  std::array<bool, 256> mTakesType{};  // by data type, as the last header says
};
