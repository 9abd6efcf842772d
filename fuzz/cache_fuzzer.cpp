// Any bytes in the three cache files: loaded as the plain rules say, looked up as a plain walk
// does, and the same again after saving.

#include <unistd.h>

#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "indexer/file_cuts.h"
#include "indexer/zel3_indexer.h"
#include "support/plain_cache.h"
#include "support/plain_time_index.h"

namespace {

constexpr std::uint64_t kEndPosition = 9000;

struct Place {
  FuzzFolder folder;
  std::string archive = folder / "cam.zel3";
  Place() { WriteFile(archive, "an archive"); }
};

QString Path(const std::string& path) {
  return QString::fromLocal8Bit(path.c_str());
}

std::vector<std::uint64_t> Positions(const Bytes& hdr) {
  std::vector<std::uint64_t> positions;
  FuzzInput input(hdr.data(), hdr.size() / 8 * 8);
  while (!input.IsEmpty()) positions.push_back(input.Number(8));
  return positions;
}

std::vector<std::uint64_t> Plain(const QVector<FilePosition>& positions) {
  return std::vector<std::uint64_t>(positions.begin(), positions.end());
}

bool SameEvents(const QList<EVT_FILE_DATA_T>& loaded, const std::vector<PlainGroup>& plain) {
  if (static_cast<std::size_t>(loaded.size()) != plain.size()) return false;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const EVT_FILE_DATA_T& group = loaded.at(static_cast<int>(i));
    if (group.time != plain[i].time || group.offsetLow != plain[i].offsetLow) return false;
    if (group.eventCount != plain[i].events.size()) return false;
    if (static_cast<std::size_t>(group.events.size()) != plain[i].events.size()) return false;
    for (std::size_t k = 0; k < plain[i].events.size(); ++k) {
      const EVT_FILE_EVENT_T& event = group.events.at(static_cast<int>(k));
      if (event.eventType != plain[i].events[k].type) return false;
      if (std::string(event.text.data(), event.text.size()) != plain[i].events[k].text)
        return false;
    }
  }
  return true;
}

// The order noted while loading is the one that an examination of the whole store finds.
void CompareOrder(const FiledStore& filed) {
  const StoreOrder order = OrderOf(filed);
  FUZZ_REQUIRE(filed.order.entriesAscend == order.entriesAscend);
  FUZZ_REQUIRE(filed.order.headersAscend == order.headersAscend);
  FUZZ_REQUIRE(filed.order.cutsAscend == order.cutsAscend);
}

void CompareLookups(cZel3Indexer& index, const PlainEntries& entries) {
  PlainTimeIndex plain;
  plain.File({"cam", entries.start, entries.end, false, entries.times});
  std::vector<std::uint64_t> times{0, ToArchiveTime(entries.start), ToArchiveTime(entries.end)};
  for (std::size_t i = 0; i < entries.times.size() && i < 20; ++i)
    times.push_back(ToArchiveTime(entries.times[i]));
  for (const std::uint64_t time : times) {
    for (const std::uint64_t asked : {time - 1, time, time + 1}) {
      for (const Ask ask : kAllAsks)
        FUZZ_REQUIRE(Look(index, asked, ask) == plain.Find(asked, ask));
    }
  }
}

// The first stretch that holds the entry's position, and the last header before it.
void AskForBytes(const cZel3Indexer& index, const std::vector<std::uint64_t>& headers,
                 const std::vector<std::uint64_t>& cuts, std::uint32_t entry) {
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  const bool exists = !index.Files().empty() &&
                      entry < static_cast<std::uint32_t>(index.Files()[0].id3Records.size());
  FUZZ_REQUIRE(index.Index_pos_from_IndexId(MakeIndexId(0, entry), &start, &end) == exists);
  if (!exists) return;
  const QVector<ZEL_ID3_REC>& records = index.Files()[0].id3Records;
  const std::uint64_t position = records.at(static_cast<int>(entry)).offsetLow;
  FUZZ_REQUIRE(std::make_pair(start, end) == PlainStretch(cuts, position));
  FUZZ_REQUIRE(index.Header_pos_for_index(MakeIndexId(0, entry)) ==
               PlainHeaderBefore(headers, position));
}

void CompareAfterSaving(cZel3Indexer& index, const std::string& archive, bool withHeaders) {
  const sFile_Index_Store before = index.Current();
  index.Save_files();
  cZel3Indexer again;
  // A file of one group with one empty text is written, but too small to be read.
  const bool eventsAreRead = ReadFile(archive.substr(0, archive.size() - 4) + "evt").size() >= 12;
  const bool anything =
      !before.id3Records.isEmpty() || !before.headerPositions.isEmpty() || eventsAreRead;
  FUZZ_REQUIRE(again.Open_file(Path(archive), kEndPosition) == anything);
  if (!anything) return;
  FUZZ_REQUIRE(again.Current().headerPositions == before.headerPositions);
  FUZZ_REQUIRE(again.Current().id3Records.size() == before.id3Records.size());
  // A missing .hdr file stands for a header at the start, which makes a cut only where there are
  // entries; a saved .hdr file always makes one.
  if (withHeaders || !before.id3Records.isEmpty())
    FUZZ_REQUIRE(AllCuts(again.Current()) == AllCuts(before));
  FUZZ_REQUIRE(again.Current().startTime == before.startTime);
  FUZZ_REQUIRE(again.Current().endTime == before.endTime);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const Place place;
  FuzzInput input(bytes, size);
  const std::uint8_t choices = input.Byte();
  const Bytes id3 = input.Take(input.Number(2));
  const Bytes hdr = input.Take(input.Number(2));
  const Bytes evt = input.Rest();
  WriteFile(place.folder / "cam.id3", id3);
  WriteFile(place.folder / "cam.evt", evt);
  const bool withHeaders = (choices & 1) != 0;
  if (withHeaders) {
    WriteFile(place.folder / "cam.hdr", hdr);
  } else {
    unlink((place.folder / "cam.hdr").c_str());
  }

  PlainEntries entries = PlainId3(id3);
  const std::vector<std::uint64_t> headers =
      withHeaders ? Positions(hdr) : std::vector<std::uint64_t>{0};
  const std::vector<PlainGroup> events = PlainEvents(evt);
  if (withHeaders || !entries.cuts.empty()) PlainInsertHeaders(headers, &entries.cuts);
  const bool anything = !entries.times.empty() || !headers.empty() || !events.empty();
  if (anything) entries.cuts.push_back(kEndPosition);

  cZel3Indexer index;
  FUZZ_REQUIRE(index.Open_file(Path(place.archive), kEndPosition) == anything);
  FUZZ_REQUIRE(static_cast<std::size_t>(index.Current().id3Records.size()) == entries.times.size());
  FUZZ_REQUIRE(index.Current().startTime == entries.start);
  FUZZ_REQUIRE(index.Current().endTime == entries.end);
  FUZZ_REQUIRE(index.Current().indexInterval == entries.interval);
  FUZZ_REQUIRE(Plain(AllCuts(index.Current())) == entries.cuts);
  FUZZ_REQUIRE(SameEvents(index.Current().events, events));
  if (anything) CompareOrder(index.Files()[0]);
  if (anything) CompareLookups(index, entries);
  for (std::uint32_t entry = 0; entry < 10; ++entry)
    AskForBytes(index, headers, entries.cuts, entry);
  if ((choices & 2) != 0) CompareAfterSaving(index, place.archive, withHeaders);
  return 0;
}
