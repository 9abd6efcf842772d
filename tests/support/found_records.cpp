#include "support/found_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

#include "blocks/index_record.h"
#include "parser/framing_parser.h"

namespace {

std::string At(std::uint64_t position) {
  return "@" + std::to_string(position) + " ";
}

// Writes down what is found; a reluctant one only when it is told a second time.
class LineSink final : public FramingSink {
 public:
  explicit LineSink(bool reluctant) : mReluctant(reluctant) {}

  void OnHeader(std::uint64_t position, const ArchiveHeader& header) override {
    std::string line = "header" + At(position) + "length " + std::to_string(header.length) +
                       " delta " + std::to_string(header.firstIndexDelta) + " \"" + header.title +
                       "\"";
    for (const StreamDescriptor& stream : header.streams) {
      line += " " + std::to_string(stream.id) + (stream.active != 0 ? "+" : "-") + stream.kind +
              "/" + stream.name + "/" + stream.format;
    }
    Take(line);
  }
  void OnIndex(std::uint64_t position, const IDX_T& index) override {
    Take("index" + At(position) + "time " + std::to_string(index.time) + " flag " +
         std::to_string(index.indexFlag));
  }
  void OnData(std::uint64_t position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override {
    Take(FourCcText(kind) + At(position) + "type " + std::to_string(head.type) + " flags " +
         std::to_string(head.flags) + " \"" +
         std::string(reinterpret_cast<const char*>(payload), head.length) + "\"");
  }
  void OnDamage(std::uint64_t position, std::uint64_t bytes) override {
    Take("damage" + At(position) + std::to_string(bytes) + " bytes");
  }
  void OnCutOff(std::uint64_t position, std::uint64_t bytes) override {
    Take("cut" + At(position) + std::to_string(bytes) + " bytes");
  }

  Lines lines;

 private:
  void Take(const std::string& line) {
    if (mReluctant && line != mRefused) {
      mRefused = line;
      throw std::bad_alloc();
    }
    lines.push_back(line);
  }

  const bool mReluctant;
  std::string mRefused;
};

template <class Work>
void UntilDone(Work work) {
  for (;;) {
    try {
      return work();
    } catch (const std::bad_alloc&) {
      // Once more.
    }
  }
}

Lines FoundInPieces(const Bytes& archive, std::size_t pieceSize, bool reluctant) {
  LineSink sink(reluctant);
  FramingParser parser(sink);
  for (std::size_t at = 0; at < archive.size(); at += pieceSize) {
    // A copy of exactly its size, so that reading beyond it is noticed.
    const auto end =
        archive.begin() + static_cast<std::ptrdiff_t>(std::min(at + pieceSize, archive.size()));
    const Bytes piece(archive.begin() + static_cast<std::ptrdiff_t>(at), end);
    UntilDone([&] { parser.Feed(piece.data(), piece.size()); });
  }
  UntilDone([&] { parser.Finish(); });
  return sink.lines;
}

}  // namespace

ArchiveBytes& ArchiveBytes::Header(const std::vector<StreamDescriptor>& streams,
                                   const std::string& title) {
  ArchiveHeader header;
  header.title = title;
  header.streams = streams;
  return Raw(EncodeHeaderRecord(header).value());
}

ArchiveBytes& ArchiveBytes::Index(std::uint32_t time, std::uint8_t flag) {
  const auto record = EncodeIndexRecord({time, 0, flag});
  return Raw(Bytes(record.begin(), record.end()));
}

ArchiveBytes& ArchiveBytes::Data(std::uint8_t type, const std::string& payload,
                                 std::uint8_t flags) {
  const auto head = EncodeDataHead({static_cast<std::uint16_t>(payload.size()), flags, type});
  Raw(Bytes(head.begin(), head.end()));
  return Raw(Bytes(payload.begin(), payload.end()));
}

ArchiveBytes& ArchiveBytes::Raw(const Bytes& bytes) {
  mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
  return *this;
}

StreamDescriptor Video(std::uint8_t id) {
  return {id, 1, "video", "", ""};
}

StreamDescriptor Inactive(std::uint8_t id) {
  return {id, 0, "video", "", ""};
}

Lines FoundInPieces(const Bytes& archive, std::size_t pieceSize) {
  return FoundInPieces(archive, pieceSize, false);
}

Lines Found(const Bytes& archive) {
  const Lines whole = FoundInPieces(archive, std::max<std::size_t>(archive.size(), 1));
  for (const std::size_t pieceSize : {1, 2, 3, 4, 5, 7, 12, 13, 14, 64, 1000}) {
    EXPECT_EQ(FoundInPieces(archive, pieceSize, false), whole)
        << "in pieces of " << pieceSize << " bytes";
    EXPECT_EQ(FoundInPieces(archive, pieceSize, true), whole)
        << "by a reluctant sink, in pieces of " << pieceSize << " bytes";
  }
  return whole;
}

Lines FoundAmongZeros(const std::vector<BytesAndZeros>& parts, ZerosAre zerosAre) {
  LineSink sink(false);
  FramingParser parser(sink);
  for (const BytesAndZeros& part : parts) {
    parser.Feed(part.bytes.data(), part.bytes.size());
    if (zerosAre == ZerosAre::kCounted) {
      parser.FeedZeros(part.zeros);
    } else {
      const Bytes zeros(static_cast<std::size_t>(part.zeros), 0);
      parser.Feed(zeros.data(), zeros.size());
    }
  }
  parser.Finish();
  return sink.lines;
}
