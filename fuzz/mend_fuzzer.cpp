// What mending makes of any archive: a copy with which nothing is wrong, that holds every entry
// which a parser finds after a header, and that mending leaves as it is. Of the archive nothing is
// missing in the copy but what is counted as lost; a whole one is the same byte by byte.

#include <optional>

#include "archive_input.h"
#include "fuzz_folder.h"
#include "parser/marker_search.h"
#include "system/failure.h"
#include "verbs/mended_copy.h"
#include "verbs/new_archives.h"

namespace {

void Ignore(std::uint64_t /*bytes*/) {}

// What has been mended of `from`, at `to`; nothing when no archive can be made of it.
std::optional<Mended> Mend(const std::string& from, const std::string& to) {
  PlainFile file;
  FUZZ_REQUIRE(file.Open(from, PlainFile::Mode::kRead));
  NewArchives archives({to, false, true}, [](const std::string& /*path*/) {});
  archives.Begin();
  Mended mended;
  try {
    mended = CopyWhatIsWhole(file, &archives.File(), Ignore);
  } catch (const Failure&) {
    return std::nullopt;
  }
  if (mended.entries == 0) return std::nullopt;
  // Throws when it is not a good archive.
  archives.End(mended.entries);
  archives.TakeNames();
  return mended;
}

// Counts the entries that a parser finds after a header. One with a marker in its texts may have
// led over records, so that mending need not believe it.
class EntriesWithHeader : public FramingSink {
 public:
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& header) override {
    const auto record = *EncodeHeaderRecord(header);
    mHasHeader = mHasHeader || !FindMarker(record.data() + 1, record.size() - 1);
  }
  void OnIndex(FilePosition /*position*/, const IDX_T& /*index*/) override {
    count += mHasHeader ? 1 : 0;
  }
  void OnData(FilePosition /*position*/, const DATA_T& /*head*/, const unsigned char* /*payload*/,
              Tag /*kind*/) override {}

  std::uint64_t count = 0;

 private:
  bool mHasHeader = false;
};

std::uint64_t EntriesFoundIn(const Bytes& archive) {
  EntriesWithHeader entries;
  FramingParser parser(entries);
  parser.Feed(archive.data(), archive.size());
  return entries.count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  static const std::string path = folder / "cam.zel3";
  const Bytes archive = ArchiveInput(bytes, size).archive;
  WriteFile(path, archive);
  const std::optional<Mended> mended = Mend(path, folder / "mended.zel3");
  FUZZ_REQUIRE(ReadFile(path) == archive);
  if (!mended) return 0;

  const Bytes copy = ReadFile(folder / "mended.zel3");
  for (const Loss& loss : mended->losses.Kept())
    FUZZ_REQUIRE(loss.position + loss.bytes <= archive.size());
  if (mended->firstHeader == Mended::FirstHeader::kWhole)
    FUZZ_REQUIRE(copy.size() + mended->losses.Bytes() == archive.size());
  if (mended->IsWhole()) FUZZ_REQUIRE(copy == archive);
  FUZZ_REQUIRE(mended->entries >= EntriesFoundIn(archive));

  const std::optional<Mended> again = Mend(folder / "mended.zel3", folder / "again.zel3");
  FUZZ_REQUIRE(again && again->IsWhole());
  FUZZ_REQUIRE(ReadFile(folder / "again.zel3") == copy);
  return 0;
}
