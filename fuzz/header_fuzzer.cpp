// The indexer finds the same streams in a raw archive header as a walk over the same bytes with
// enough zeros after them.

#include "fuzz_input.h"
#include "indexer/zel3_indexer.h"

namespace {

StreamMap PlainWalk(Bytes body) {
  const auto length = static_cast<std::int16_t>((body.size() > 0 ? body[0] : 0) |
                                                (body.size() > 1 ? body[1] : 0) << 8);
  body.resize(body.size() + 40000, 0);
  StreamMap streams{};
  std::size_t cursor = 4;
  while (body[cursor] != 0) ++cursor;
  while (static_cast<std::ptrdiff_t>(cursor) < length) {
    const std::uint8_t id = body[cursor + 1];
    if (body[cursor + 2] != 0) streams[id >> 3] |= static_cast<std::uint8_t>(1 << (id & 7));
    cursor += 2;
    for (int text = 0; text < 3; ++text) {
      ++cursor;
      while (body[cursor] != 0) ++cursor;
    }
  }
  return streams;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  // The 16-bit length reaches nothing further.
  if (size > 40000) return 0;
  cZel3Indexer index;
  // A copy of the exact size: reading beyond it is noticed.
  const Bytes body(bytes, bytes + size);
  index.Add_tmp_header(reinterpret_cast<const char*>(body.data()), body.size());
  FUZZ_REQUIRE(index.Current().streamMap == PlainWalk(body));
  return 0;
}
