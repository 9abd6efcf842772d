#include "json/block_json.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "json/record_json.h"
#include "text/json_text.h"

namespace {

// Text that may not fit in memory: it is written piece by piece.
class Pieces {
 public:
  explicit Pieces(std::ostream* out) : mOut(out) {}
  ~Pieces() { *mOut << mPiece; }
  Pieces(const Pieces&) = delete;
  Pieces& operator=(const Pieces&) = delete;

  void Add(std::string_view text) {
    mPiece += text;
    if (mPiece.size() < kPieceSize) return;
    *mOut << mPiece;
    mPiece.clear();
  }

 private:
  static constexpr std::size_t kPieceSize = 65536;
  std::ostream* const mOut;
  std::string mPiece;
};

void PrintLevels(const ActivityGistBlock& block, std::ostream& out) {
  std::vector<std::string> texts;
  for (unsigned level = 0; level < 256; ++level) texts.push_back("," + std::to_string(level));
  const TActivityGist& gist = block.Record();
  const std::uint32_t wanted = gist.binCount < 0 ? 0 : static_cast<std::uint32_t>(gist.binCount);
  const std::uint32_t count = std::min(wanted, block.GetExtraSize());
  Pieces pieces(&out);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::string_view text = texts[gist.Levels()[i]];
    pieces.Add(i == 0 ? text.substr(1) : text);
  }
}

void PrintBytes(const RawDataBlock& block, std::uint64_t byteLimit, std::ostream& out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  const std::uint64_t shown = std::min<std::uint64_t>(block.Size(), byteLimit);
  Pieces pieces(&out);
  for (std::uint64_t i = 0; i < shown; ++i) {
    const unsigned char byte = block.Bytes()[i];
    const char digits[] = {kDigits[byte >> 4], kDigits[byte & 15]};
    pieces.Add({digits, sizeof(digits)});
  }
}

bool IsActivityGist(const cMemBlock& block) {
  return block.GetType() == tag::kNotify &&
         NotifyBlock::View(block).Record().kind == tag::kActivityGist;
}

}  // namespace

void PrintBlock(const cMemBlock& block, std::uint64_t byteLimit, std::ostream& out) {
  const std::optional<Json> json = RecordJson(block);
  if (!json) return;
  const std::string text = PlainJsonText(*json);
  // Levels and bytes may fill memory, so they are written without a copy: between the two
  // characters that begin and end the last value.
  const std::size_t end = text.size() - 2;
  out << text.substr(0, end);
  if (IsActivityGist(block)) PrintLevels(ActivityGistBlock::View(block), out);
  if (block.GetType() == tag::kRawData) PrintBytes(RawDataBlock::View(block), byteLimit, out);
  out << text.substr(end) << '\n';
}

bool IsAnswer(const cMemBlock& block) {
  return block.GetType() == tag::kNotify || block.GetType() == tag::kArchives ||
         block.GetType() == tag::kRawData;
}
