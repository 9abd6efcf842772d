#include "support/archive_builder.h"

#include <cstring>

#include "support/messages.h"

template <class Integer>
void ArchiveBuilder::Append(Integer value) {
  const auto* const start = reinterpret_cast<const unsigned char*>(&value);
  mArchive.bytes.insert(mArchive.bytes.end(), start, start + sizeof(value));
}

void ArchiveBuilder::AppendText(const std::string& text) {
  mArchive.bytes.insert(mArchive.bytes.end(), text.begin(), text.end());
  Append<std::uint8_t>(0);
}

void ArchiveBuilder::Report(const cMemBlock& block) {
  mArchive.records.push_back({Size(), block});
}

ArchiveBuilder& ArchiveBuilder::Header(const std::vector<Stream>& streams,
                                       std::int16_t firstIndexDelta, std::int16_t extraLength) {
  const std::size_t start = Size();
  Append(kHeaderMarker);
  const std::size_t body = Size();
  Append<std::int16_t>(0);
  Append(firstIndexDelta);
  AppendText(mTitle);
  for (const Stream& stream : streams) {
    Append(stream.id);
    Append<std::uint8_t>(stream.active);
    AppendText("video");
    AppendText("Gate " + std::to_string(stream.id));
    AppendText("h264");
  }
  const auto headerLength = static_cast<std::int16_t>(Size() - 1 - body + extraLength);
  std::memcpy(&mArchive.bytes[body], &headerLength, sizeof(headerLength));

  HeaderBlock header = HeaderBlock::New();
  header.WritableRecord().title = mTitle;
  for (std::size_t i = 0; i < streams.size(); ++i) {
    header.WritableRecord().streams[i].streamId = streams[i].id;
    header.WritableRecord().streams[i].streamActive = streams[i].active;
  }
  Report(ParsedPlace(start));
  Report(header);
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Index(std::uint32_t indexTime, std::uint8_t indexFlag) {
  const std::size_t start = Size();
  IDX_T index;
  index.time = indexTime;
  index.indexFlag = indexFlag;
  Append(kIndexMarker);
  Append(index);
  Report(ParsedPlace(start));
  Report(ParsedIndex(indexTime, indexFlag));
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Data(std::uint8_t type, std::uint8_t flags,
                                     const std::string& payload, Tag kind) {
  DATA_T head;
  head.length = static_cast<std::uint16_t>(payload.size());
  head.flags = flags;
  head.type = type;
  Append(head);
  mArchive.bytes.insert(mArchive.bytes.end(), payload.begin(), payload.end());
  Report(ParsedData(head, payload, kind));
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Filler(std::size_t count, unsigned char value) {
  mArchive.bytes.insert(mArchive.bytes.end(), count, value);
  return *this;
}

SmallArchive ArchiveOf(const std::string& title, const std::vector<std::uint32_t>& indexTimes) {
  ArchiveBuilder builder(title);
  builder.Header({{1}, {2}});
  for (const std::uint32_t time : indexTimes) builder.Index(time).Data(1, 4, "picture");
  return builder.Archive();
}

Bytes NumberedBytes(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
  return bytes;
}
