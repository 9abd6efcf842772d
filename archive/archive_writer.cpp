#include "archive/archive_writer.h"

#include <stdexcept>

#include "blocks/index_record.h"

namespace {

constexpr std::size_t kBufferSize = 1 << 20;

[[noreturn]] void Refuse(const std::string& reason) {
  throw std::invalid_argument(reason);
}

}  // namespace

ArchiveWriter::ArchiveWriter(const std::string& path) : mPath(path), mBuffer(kBufferSize) {
  mFile.rdbuf()->pubsetbuf(mBuffer.data(), static_cast<std::streamsize>(mBuffer.size()));
  mFile.open(path, std::ios::binary | std::ios::trunc);
  if (!mFile) throw std::runtime_error("cannot create " + path);
}

void ArchiveWriter::WriteHeader(const ArchiveHeader& header) {
  if (mState == State::kNeedsIndex) Refuse("a header must be followed by an index record");
  CheckStreams(header);
  const auto record = EncodeHeaderRecord(header);
  if (!record) Refuse("the texts of the header hold a NUL or are too long");
  Append(record->data(), record->size());
  mState = State::kNeedsIndex;
  for (std::size_t type = 0; type < mTakesType.size(); ++type) {
    mTakesType[type] = IsEventType(static_cast<std::uint8_t>(type));
  }
  for (const StreamDescriptor& stream : header.streams) {
    if (stream.active != 0) mTakesType[stream.id] = true;
  }
}

void ArchiveWriter::CheckStreams(const ArchiveHeader& header) const {
  for (const StreamDescriptor& stream : header.streams) {
    if (!IsWritableStreamId(stream.id)) {
      Refuse("stream id " + std::to_string(stream.id) + " is an event type or the byte of markers");
    }
  }
}

void ArchiveWriter::WriteIndex(const IDX_T& index) {
  if (mState == State::kNeedsHeader) Refuse("an archive must start with a header");
  const auto record = EncodeIndexRecord(index);
  Append(record.data(), record.size());
  mState = State::kTakesAll;
}

void ArchiveWriter::WriteData(std::uint8_t type, std::uint8_t flags, const unsigned char* payload,
                              std::size_t size) {
  if (mState != State::kTakesAll) Refuse("data must follow an index record");
  if (!mTakesType[type]) {
    Refuse("data type " + std::to_string(type) + " is neither an active stream nor an event type");
  }
  if (size > kLargestPayload) Refuse("a payload of " + std::to_string(size) + " bytes is too long");
  const auto head = EncodeDataHead({static_cast<std::uint16_t>(size), flags, type});
  Append(head.data(), head.size());
  Append(payload, size);
}

void ArchiveWriter::Close() {
  mFile.close();
  if (!mFile) throw std::runtime_error("cannot write " + mPath);
}

void ArchiveWriter::Append(const unsigned char* bytes, std::size_t size) {
  mFile.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  if (!mFile) throw std::runtime_error("cannot write " + mPath);
  mPosition += size;
}
