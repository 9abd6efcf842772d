#include "cache_bytes.h"

namespace {

void Append(Bytes& bytes, std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) bytes.push_back(static_cast<unsigned char>(value >> 8 * i));
}

}  // namespace

Bytes Id3File(const std::vector<EntryBytes>& entries) {
  Bytes bytes;
  for (const EntryBytes& entry : entries) {
    Append(bytes, 0, 2);
    Append(bytes, entry.offsetHigh, 2);
    Append(bytes, entry.time, 4);
    Append(bytes, entry.offsetLow, 4);
    Append(bytes, 0, 8);
    Append(bytes, 0, 4);
  }
  return bytes;
}

Bytes Id3FileWithTimes(const std::vector<std::uint32_t>& times) {
  std::vector<EntryBytes> entries;
  for (const std::uint32_t time : times) entries.push_back({time});
  return Id3File(entries);
}

Bytes HdrFile(const std::vector<std::uint64_t>& positions) {
  Bytes bytes;
  for (const std::uint64_t position : positions) Append(bytes, position, 8);
  return bytes;
}

EvtFile& EvtFile::Group(std::uint32_t time, std::uint32_t offsetLow, std::uint8_t eventCount) {
  Append(mBytes, time, 4);
  Append(mBytes, offsetLow, 4);
  Append(mBytes, eventCount, 1);
  return *this;
}

EvtFile& EvtFile::Event(std::uint8_t type, const std::string& text) {
  UnterminatedEvent(type, text);
  mBytes.push_back(0);
  return *this;
}

EvtFile& EvtFile::UnterminatedEvent(std::uint8_t type, const std::string& text) {
  mBytes.push_back(type);
  mBytes.insert(mBytes.end(), text.begin(), text.end());
  return *this;
}

EvtFile& EvtFile::Raw(const Bytes& bytes) {
  mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
  return *this;
}

Bytes Cut(Bytes bytes, std::size_t size) {
  bytes.resize(size);
  return bytes;
}
