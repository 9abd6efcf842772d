#include "parser/framing.h"

#include <limits>

#include "blocks/byte_cursor.h"

namespace {

bool HoldsNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

bool HasEncodableTexts(const ArchiveHeader& header) {
  if (HoldsNul(header.title)) return false;
  for (const StreamDescriptor& stream : header.streams) {
    if (HoldsNul(stream.kind) || HoldsNul(stream.name) || HoldsNul(stream.format)) return false;
  }
  return true;
}

void AppendText(std::vector<unsigned char>* bytes, const std::string& text) {
  bytes->insert(bytes->end(), text.begin(), text.end());
  bytes->push_back(0);
}

bool SkipText(ByteCursor* cursor) {
  return cursor->Skip(cursor->TextLength() + 1);
}

// Checked before anything is copied: a damaged stretch may have a damaged header at every marker,
// and each must cost little.
bool TextsEndWithTheBody(const unsigned char* body, std::size_t size) {
  if (body[size - 1] != 0) return false;
  ByteCursor cursor(body + kTitleOffset, size - kTitleOffset);
  if (!SkipText(&cursor)) return false;
  while (cursor.Left() > 0) {
    if (!cursor.Skip(2)) return false;
    for (int text = 0; text < 3; ++text) {
      if (!SkipText(&cursor)) return false;
    }
  }
  return true;
}

// REQUIRES: the text ends within the body.
std::string TakeText(const unsigned char** next) {
  const std::string text(reinterpret_cast<const char*>(*next));
  *next += text.size() + 1;
  return text;
}

}  // namespace

Tag KindTag(const std::string& kind) {
  if (kind == "video") return tag::kVideo;
  if (kind == "sound") return tag::kSound;
  if (kind == "image") return tag::kImage;
  if (kind == "text") return tag::kText;
  if (kind == "binary") return tag::kBinary;
  return tag::kUnknownKind;
}

std::optional<std::vector<unsigned char>> EncodeHeaderRecord(const ArchiveHeader& header) {
  if (!HasEncodableTexts(header)) return std::nullopt;
  std::vector<unsigned char> bytes(kMarkerSize + kTitleOffset);
  AppendText(&bytes, header.title);
  for (const StreamDescriptor& stream : header.streams) {
    bytes.push_back(stream.id);
    bytes.push_back(stream.active);
    AppendText(&bytes, stream.kind);
    AppendText(&bytes, stream.name);
    AppendText(&bytes, stream.format);
  }
  const std::size_t length = bytes.size() - kMarkerSize - 1;
  if (length > std::numeric_limits<std::int16_t>::max()) return std::nullopt;
  StoreLittleEndian(bytes.data(), kHeaderMarker);
  StoreLittleEndian(bytes.data() + kMarkerSize, static_cast<std::int16_t>(length));
  StoreLittleEndian(bytes.data() + kMarkerSize + 2, header.firstIndexDelta);
  return bytes;
}

std::optional<ArchiveHeader> DecodeHeaderBody(const unsigned char* body, std::size_t size) {
  if (size <= kTitleOffset) return std::nullopt;
  ArchiveHeader header;
  header.length = LoadLittleEndian<std::int16_t>(body);
  header.firstIndexDelta = LoadLittleEndian<std::int16_t>(body + 2);
  if (header.length < 0 || static_cast<std::size_t>(header.length) != size - 1) return std::nullopt;
  if (!TextsEndWithTheBody(body, size)) return std::nullopt;

  const unsigned char* next = body + kTitleOffset;
  header.title = TakeText(&next);
  while (next != body + size) {
    StreamDescriptor stream;
    stream.id = *next++;
    stream.active = *next++;
    stream.kind = TakeText(&next);
    stream.name = TakeText(&next);
    stream.format = TakeText(&next);
    header.streams.push_back(stream);
  }
  return header;
}

std::array<unsigned char, sizeof(DATA_T)> EncodeDataHead(const DATA_T& head) {
  std::array<unsigned char, sizeof(DATA_T)> bytes;
  StoreLittleEndian(bytes.data(), head);
  return bytes;
}

DATA_T DecodeDataHead(const unsigned char* bytes) {
  return LoadLittleEndian<DATA_T>(bytes);
}
