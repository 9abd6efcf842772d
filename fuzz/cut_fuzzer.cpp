// What is cut from any archive, by any times, streams and parts: archives with which nothing is
// wrong. Of an archive without damage they hold exactly the entries asked for, with all that was
// asked for of their data.

#include <cstdio>
#include <memory>
#include <optional>

#include "archive/damage_scan.h"
#include "archive_input.h"
#include "client/activity_bins.h"
#include "fuzz_folder.h"
#include "verbs/excerpt.h"

namespace {

struct Entry {
  std::uint32_t time = 0;
  std::uint8_t flag = 0;
  Bytes data;  // heads and payloads

  bool operator==(const Entry& other) const {
    return time == other.time && flag == other.flag && data == other.data;
  }
};

// The entries of an archive, with the data of some types.
class EntryList : public FramingSink {
 public:
  explicit EntryList(const KnownTypes& types) : mTypes(types) {}

  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {
    beginsWithHeader = beginsWithHeader || entries.empty();
  }
  void OnIndex(FilePosition /*position*/, const IDX_T& index) override {
    entries.push_back({index.time, index.indexFlag, {}});
  }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    hasDataOfNoEntry = hasDataOfNoEntry || entries.empty();
    if (entries.empty() || !mTypes[head.type]) return;
    const auto encoded = EncodeDataHead(head);
    Bytes& data = entries.back().data;
    data.insert(data.end(), encoded.begin(), encoded.end());
    data.insert(data.end(), payload, payload + head.length);
  }

  std::vector<Entry> entries;
  bool beginsWithHeader = false;
  bool hasDataOfNoEntry = false;  // before the first one

 private:
  const KnownTypes mTypes;
};

EntryList EntriesOf(const Bytes& archive, const KnownTypes& types) {
  EntryList list(types);
  FramingParser parser(list);
  parser.Feed(archive.data(), archive.size());
  parser.Finish();
  return list;
}

WantedRecords Wanted(const KeptIndex& index, FuzzInput* choices) {
  WantedRecords wanted;
  wanted.from = 0;
  wanted.to = kEndOfTimes;
  const std::uint8_t kind = choices->Byte();
  if ((kind & 1) != 0) wanted.from = index.PlaceOf(choices->Byte() % index.Count());
  if ((kind & 2) != 0)
    wanted.to = wanted.from + 1 + index.PlaceOf(choices->Byte() % index.Count()) % 100000;
  if ((kind & 4) != 0) {
    for (unsigned type = 0; type < wanted.types.size(); ++type)
      wanted.types[type] = !IsEventType(static_cast<std::uint8_t>(type));
  }
  if ((kind & 8) != 0) wanted.types.reset(choices->Byte() % 4);
  return wanted;
}

std::optional<PartSize> PartSizeOf(FuzzInput* choices) {
  PartSize size;
  switch (choices->Byte() % 4) {
    case 0:
      size.bytes = 1 + choices->Byte() * 8;
      return size;
    case 1:
      size.time = 1 + choices->Byte() * 1000;
      return size;
    default:
      return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  static const std::string path = folder / "cam.zel3";
  ArchiveInput input(bytes, size);
  WriteFile(path, input.archive);
  auto index = KeptIndex::Collect(path);
  if (!index) return 0;
  const WantedRecords wanted = Wanted(*index, &input.choices);
  const std::optional<PartSize> parts = PartSizeOf(&input.choices);
  auto file = std::make_unique<PlainFile>();
  FUZZ_REQUIRE(file->Open(path, PlainFile::Mode::kRead));
  const OpenedArchive opened(std::move(file), std::move(*index), {});

  const auto ignore = [](std::uint64_t) {};
  NewArchives archives({folder / "part.zel3", parts.has_value(), true}, [](const std::string&) {});
  Excerpt excerpt(wanted, parts, &archives, ignore);
  const EntryList all = EntriesOf(input.archive, wanted.types);
  std::vector<Entry> expected;
  for (const EntryRange& range : EntriesWithin(opened, wanted.from, wanted.to)) {
    excerpt.Add(0, opened, range);
    for (std::size_t entry = range.first; entry < range.end; ++entry)
      expected.push_back(all.entries[entry]);
  }
  // Throws when what was written is not a good archive.
  excerpt.Finish();
  archives.TakeNames();
  FUZZ_REQUIRE(ReadFile(path) == input.archive);

  std::vector<Entry> written;
  for (const NewArchive& archive : archives.Ended()) {
    const EntryList part = EntriesOf(ReadFile(archive.path), KnownTypes().set());
    FUZZ_REQUIRE(part.entries.size() == archive.entries);
    written.insert(written.end(), part.entries.begin(), part.entries.end());
    std::remove(archive.path.c_str());
  }
  const ExcerptCounts& counts = excerpt.Counts();
  FUZZ_REQUIRE(written.size() == counts.entries);
  if (DamageOf(path).IsNone() && all.beginsWithHeader && !all.hasDataOfNoEntry) {
    FUZZ_REQUIRE(counts.IsWhole() && counts.headerlessEntries == 0);
    FUZZ_REQUIRE(written == expected);
  }
  return 0;
}
