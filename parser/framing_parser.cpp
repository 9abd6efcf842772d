#include "parser/framing_parser.h"

#include <algorithm>
#include <cassert>

#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"
#include "parser/marker_search.h"

void FramingSink::OnEmptyData(FilePosition position, std::uint64_t count, Tag kind) {
  const DATA_T head = {};
  const unsigned char payload = 0;
  for (; count > 0; --count, position += sizeof(head)) OnData(position, head, &payload, kind);
}

FramingParser::FramingParser(FramingSink& sink) : mSink(sink) {
  mHeld.reserve(kLargestRecordSize);
}

void FramingParser::Feed(const unsigned char* bytes, std::size_t size) {
  while (mPosition < mFed) {
    if (!Hold(bytes, size)) {
      mFed += size;
      return;
    }
    ParseRecords(mHeld.data(), mHeld.size());
  }
  // From here on records are parsed in place, even if some of their bytes have been held meanwhile.
  const auto taken = static_cast<std::size_t>(mPosition - mFed);
  ParseRecords(bytes + taken, size - taken);
  mHeld.assign(bytes + (mPosition - mFed), bytes + size);
  mHeldFrom = mPosition;
  mFed += size;
}

bool FramingParser::Hold(const unsigned char* bytes, std::size_t size) {
  mHeld.erase(mHeld.begin(), mHeld.begin() + static_cast<std::ptrdiff_t>(mPosition - mHeldFrom));
  mHeldFrom = mPosition;
  if (mHeld.size() >= mWanted) return true;
  const auto taken = static_cast<std::size_t>(mHeldFrom + mHeld.size() - mFed);
  const std::size_t missing = std::min(mWanted - mHeld.size(), size - taken);
  mHeld.insert(mHeld.end(), bytes + taken, bytes + taken + missing);
  return mHeld.size() >= mWanted;
}

void FramingParser::FeedZeros(std::uint64_t count) {
  static constexpr unsigned char kZeros[kLargestRecordSize] = {};
  while (count > 0) {
    std::uint64_t taken = PassZeros(count);
    if (taken == 0) {
      // Only what the record at hand still needs, so that it ends before zeros are passed over.
      taken = std::min<std::uint64_t>(count, mWanted - (mFed - mPosition));
      Feed(kZeros, static_cast<std::size_t>(taken));
    }
    count -= taken;
  }
}

std::uint64_t FramingParser::PassZeros(std::uint64_t count) {
  std::uint64_t passed = 0;
  if (mLost) {
    // No marker contains a zero.
    const auto first = mHeld.begin() + static_cast<std::ptrdiff_t>(mPosition - mHeldFrom);
    if (std::all_of(first, mHeld.end(), [](unsigned char byte) { return byte == 0; }))
      passed = count;
  } else if (mPosition == mFed && mKinds[0] != 0) {
    const std::uint64_t blocks = count / sizeof(DATA_T);
    if (blocks > 0) mSink.OnEmptyData(mPosition, blocks, mKinds[0]);
    passed = blocks * sizeof(DATA_T);
  }
  Advance(passed);
  return passed;
}

void FramingParser::Advance(std::uint64_t bytes) {
  mHeldFrom += bytes;
  mPosition += bytes;
  mFed += bytes;
}

void FramingParser::Restart() {
  assert(mPosition <= mFed);
  mPosition = mFed;
  if (mLost) EndDamage();
}

void FramingParser::Finish() {
  if (!mLost && mPosition < mFed) mSink.OnCutOff(mPosition, mFed - mPosition);
  Restart();
}

void FramingParser::ParseRecords(const unsigned char* bytes, std::size_t size) {
  for (;;) {
    const std::size_t dropped = mLost ? DropToMarker(bytes, size) : 0;
    if (mLost) return;
    bytes += dropped;
    size -= dropped;
    const std::size_t recordSize = ParseRecord(bytes, size);
    if (recordSize == 0) return;
    bytes += recordSize;
    size -= recordSize;
    mPosition += recordSize;
  }
}

std::size_t FramingParser::DropToMarker(const unsigned char* bytes, std::size_t size) {
  const std::optional<std::size_t> marker = FindMarker(bytes, size);
  // Without a marker the last bytes stay: they may be the start of one.
  const std::size_t dropped = marker ? *marker : size - std::min(size, kMarkerSize - 1);
  mPosition += dropped;
  mWanted = kMarkerSize;
  if (marker) EndDamage();
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
  mSink.OnHeader(mPosition, *header);
  KeepKinds(*header);
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
  mSink.OnDamage(mLostAt, mPosition - mLostAt);
  mLost = false;
}
