// The quick index of any file: the times that a plain search byte by byte finds in its head and
// tail, or the answer that there is no archive.

#include <unistd.h>

#include <memory>

#include "blocks/byte_cursor.h"
#include "fuzz_client.h"
#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "host/pipeline.h"
#include "reader/zel3_file_reader.h"

namespace {

struct Times {
  bool found = false;
  std::uint32_t start = 0;
  std::uint32_t end = 0;
};

constexpr std::ptrdiff_t kStretch = 65535;
constexpr std::ptrdiff_t kStep = 65551;

std::uint32_t WordAt(const Bytes& bytes, std::ptrdiff_t place) {
  return LoadLittleEndian<std::uint32_t>(bytes.data() + place);
}

std::int16_t HalfWordAt(const Bytes& bytes, std::ptrdiff_t place) {
  const auto byteAt = [&bytes](std::ptrdiff_t at) {
    return at < static_cast<std::ptrdiff_t>(bytes.size()) ? bytes[static_cast<std::size_t>(at)] : 0;
  };
  return static_cast<std::int16_t>(byteAt(place) | byteAt(place + 1) << 8);
}

bool FindLast(const Bytes& file, std::uint32_t* time) {
  const auto size = static_cast<std::ptrdiff_t>(file.size());
  for (std::ptrdiff_t from = size; from > 0;) {
    from = std::max<std::ptrdiff_t>(from - kStep, 0);
    const std::ptrdiff_t count = std::min(kStretch, size - from);
    for (std::ptrdiff_t at = from + count - 5; at >= from; --at) {
      if (WordAt(file, at) != kIndexMarker || at + 13 > size) continue;
      *time = WordAt(file, at + 4);
      return true;
    }
  }
  return false;
}

Times PlainSearch(const Bytes& file) {
  const Bytes head(
      file.begin(),
      file.begin() + std::min<std::ptrdiff_t>(kStretch, static_cast<std::ptrdiff_t>(file.size())));
  const auto size = static_cast<std::ptrdiff_t>(head.size());
  std::ptrdiff_t marker = 0;
  while (marker + 4 <= size && WordAt(head, marker) != kHeaderMarker) ++marker;
  if (marker + 4 > size) return {};
  const std::ptrdiff_t place = HalfWordAt(head, marker + 4) + HalfWordAt(head, marker + 6);
  if (place < 0 || place + 13 > size || WordAt(head, place) != kIndexMarker) return {};
  std::uint32_t first = WordAt(head, place + 4);
  std::uint32_t last = 0;
  if (!FindLast(file, &last)) return {};
  return {true, std::min(first, last), std::max(first, last)};
}

// The bytes of the input with a run of zeros inserted, so that records can lie far apart. Most
// files are short, because long ones take their time.
Bytes FileOf(FuzzInput& input) {
  const bool isLong = input.Byte() >= 224;
  const std::size_t zeros = isLong ? input.Number(2) * 4 : input.Number(2) / 256;
  Bytes file = input.Take(input.Number(2));
  file.insert(file.end(), zeros, 0);
  const Bytes rest = input.Rest();
  file.insert(file.end(), rest.begin(), rest.end());
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  FuzzInput input(bytes, size);
  const Bytes file = FileOf(input);
  WriteFile(folder / "cam.zel3", file);

  Pipeline pipeline;
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  folder.Path().copy(config.sourcePath, sizeof(config.sourcePath) - 1);
  auto reader = std::make_unique<CZel3FileReader>();
  reader->Create(config);
  FuzzClient client;
  client.Create(config);
  client.ConnectAfter(reader.get());
  reader->enqueueControl(ArchivesRequestBlock::New());
  FUZZ_REQUIRE(pipeline.RunUntilIdle(1000));
  reader.reset();

  FUZZ_REQUIRE(client.blocks.size() == 1);
  const cMemBlock& answer = client.blocks[0];
  const Times expected = file.size() < 16 ? Times{} : PlainSearch(file);
  FUZZ_REQUIRE((answer.GetType() == tag::kArchives) == expected.found);
  if (!expected.found) return 0;
  const auto list = ArchivesBlock::View(answer);
  FUZZ_REQUIRE(list.Record().count == 1);
  FUZZ_REQUIRE(list.Record().Archives()[0].startTime == ToArchiveTime(expected.start));
  FUZZ_REQUIRE(list.Record().Archives()[0].endTime == ToArchiveTime(expected.end));
  return 0;
}
