#include "framing_parser.h"

#include <algorithm>

#include "byte_cursor.h"
#include "marker_search.h"

FramingParser::FramingParser(FramingSink& sink) : mSink(sink) {
  mHeld.reserve(kLargestRecordSize);
}

void FramingParser::Feed(const unsigned char* bytes, std::size_t size) {
  const std::uint64_t end = mPosition + mHeld.size() + size;
  try {
    TakePiece(bytes, size);
  } catch (...) {
    if (!mLost) LosePlace();
    mHeld.clear();
    mPosition = end;
    throw;
  }
}

void FramingParser::TakePiece(const unsigned char* bytes, std::size_t size) {
  std::size_t taken = 0;
  while (!mHeld.empty()) {
    const std::size_t missing = std::min(mWanted - mHeld.size(), size - taken);
    mHeld.insert(mHeld.end(), bytes + taken, bytes + taken + missing);
    taken += missing;
    if (mHeld.size() < mWanted) return;
    const std::size_t used = ParseRecords(mHeld.data(), mHeld.size());
    const std::size_t left = mHeld.size() - used;
    if (left > taken) {
      mHeld.erase(mHeld.begin(), mHeld.begin() + static_cast<std::ptrdiff_t>(used));
    } else {
      // What is left came with these bytes, so it can be parsed where it stands.
      taken -= left;
      mHeld.clear();
    }
  }
  const std::size_t used = ParseRecords(bytes + taken, size - taken);
  mHeld.assign(bytes + taken + used, bytes + size);
}

void FramingParser::Restart() {
  mPosition += mHeld.size();
  mHeld.clear();
  if (mLost) EndDamage();
}

void FramingParser::Finish() {
  if (!mLost && !mHeld.empty()) mSink.OnCutOff(mPosition, mHeld.size());
  Restart();
}

std::size_t FramingParser::ParseRecords(const unsigned char* bytes, std::size_t size) {
  std::size_t used = 0;
  for (;;) {
    if (mLost) used += DropToMarker(bytes + used, size - used);
    if (mLost) return used;
    const std::size_t recordSize = ParseRecord(bytes + used, size - used);
    if (recordSize == 0) return used;
    used += recordSize;
    mPosition += recordSize;
  }
}

std::size_t FramingParser::DropToMarker(const unsigned char* bytes, std::size_t size) {
  const std::optional<std::size_t> marker = FindMarker(bytes, size);
  // Without a marker the last bytes stay: they may be the start of one.
  const std::size_t dropped = marker ? *marker : size - std::min(size, kMarkerSize - 1);
  mPosition += dropped;
  if (marker) EndDamage();
  mWanted = kMarkerSize;
  return dropped;
}

std::size_t FramingParser::ParseRecord(const unsigned char* bytes, std::size_t size) {
  if (!Reaches(size, kMarkerSize)) return 0;
  switch (LoadLittleEndian<std::uint32_t>(bytes)) {
    case kHeaderMarker:
      return ParseHeader(bytes, size);
    case kIndexMarker:
      return ParseIndex(bytes, size);
    default:
      return ParseData(bytes, size);
  }
}

std::size_t FramingParser::ParseHeader(const unsigned char* bytes, std::size_t size) {
  if (!Reaches(size, kMarkerSize + sizeof(std::int16_t))) return 0;
  const unsigned char* const body = bytes + kMarkerSize;
  const auto length = LoadLittleEndian<std::int16_t>(body);
  if (length < kShortestHeaderLength) return LosePlace();
  const std::size_t bodySize = static_cast<std::size_t>(length) + 1;
  if (!Reaches(size, kMarkerSize + bodySize)) return 0;
  const std::optional<ArchiveHeader> header = DecodeHeaderBody(body, bodySize);
  if (!header) return LosePlace();
  KeepKinds(*header);
  mSink.OnHeader(mPosition, *header);
  return kMarkerSize + bodySize;
}

std::size_t FramingParser::ParseIndex(const unsigned char* bytes, std::size_t size) {
  if (!Reaches(size, kIndexRecordSize)) return 0;
  mSink.OnIndex(mPosition, DecodeIndexBody(bytes + kMarkerSize));
  return kIndexRecordSize;
}

std::size_t FramingParser::ParseData(const unsigned char* bytes, std::size_t size) {
  const DATA_T head = DecodeDataHead(bytes);
  const Tag kind = mKinds[head.type];
  if (kind == 0) return LosePlace();
  const std::size_t recordSize = sizeof(head) + head.length;
  if (!Reaches(size, recordSize)) return 0;
  mSink.OnData(mPosition, head, bytes + sizeof(head), kind);
  return recordSize;
}

bool FramingParser::Reaches(std::size_t size, std::size_t wanted) {
  mWanted = wanted;
  return size >= wanted;
}

void FramingParser::KeepKinds(const ArchiveHeader& header) {
  mKinds.fill(0);
  for (const StreamDescriptor& stream : header.streams) {
    Tag& kind = mKinds[stream.id];
    if (stream.active != 0 && kind == 0) kind = KindTag(stream.kind);
  }
  for (std::size_t type = 0; type < mKinds.size(); ++type) {
    if (IsEventType(static_cast<std::uint8_t>(type))) mKinds[type] = tag::kData;
  }
}

std::size_t FramingParser::LosePlace() {
  mLost = true;
  mLostAt = mPosition;
  return 1;
}

void FramingParser::EndDamage() {
  mLost = false;
  mSink.OnDamage(mLostAt, mPosition - mLostAt);
}
