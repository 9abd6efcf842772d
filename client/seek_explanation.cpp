#include "client/seek_explanation.h"

#include <algorithm>

#include "client/kept_index.h"

namespace {

using Rule = SeekExplanation::Rule;

Rule RuleOf(const FoundEntry& found, ArchiveTime time, Lookup lookup) {
  if (found.time > time && lookup != Lookup::kNext) return Rule::kGap;
  switch (lookup) {
    case Lookup::kNext:
      return Rule::kNext;
    case Lookup::kPrevious:
      return Rule::kPrevious;
    case Lookup::kAtOrBefore:
      break;
  }
  return found.time == time ? Rule::kAt : Rule::kBefore;
}

bool HoldsEntry(const sFile_Index_Store& store, const ListedArchive& archive,
                const FoundEntry& found) {
  return ToArchiveTime(store.startTime) == archive.startTime &&
         ToArchiveTime(store.endTime) == archive.endTime &&
         found.entryNumber < static_cast<std::uint32_t>(store.id3Records.size()) &&
         ToArchiveTime(store.id3Records.at(static_cast<int>(found.entryNumber)).time) == found.time;
}

std::optional<ByteRange> NonEmpty(FilePosition from, FilePosition to) {
  if (from >= to) return std::nullopt;
  return ByteRange(from, to);
}

void Locate(const cZel3Indexer& index, std::uint32_t entryNumber, SeekExplanation* explanation) {
  const IndexId indexId = MakeIndexId(0, entryNumber);
  FilePosition start = 0;
  FilePosition end = 0;
  index.Index_pos_from_IndexId(indexId, &start, &end);
  explanation->bytes = NonEmpty(start, end);
  start = index.Header_pos_for_index(indexId);
  end = index.Get_read_size(0, &start);
  explanation->header = NonEmpty(start, end);
}

// The file that ends last before a time.
std::optional<std::uint32_t> FileBefore(const std::vector<ListedArchive>& archives,
                                        ArchiveTime time) {
  const ListedArchive* last = nullptr;
  for (const ListedArchive& archive : archives) {
    if (archive.endTime > time) continue;
    if (last == nullptr || last->endTime <= archive.endTime) last = &archive;
  }
  if (last == nullptr) return std::nullopt;
  return last->fileNumber;
}

}  // namespace

SeekExplanation Explain(const SourceFacts& source, const std::vector<ListedArchive>& archives,
                        const FoundEntry& found, ArchiveTime time, Lookup lookup) {
  SeekExplanation explanation;
  explanation.rule = RuleOf(found, time, lookup);
  if (explanation.rule == Rule::kGap) explanation.fileBeforeGap = FileBefore(archives, time);
  const auto listed = std::find_if(
      archives.begin(), archives.end(),
      [&found](const ListedArchive& archive) { return archive.fileNumber == found.fileNumber; });
  if (listed == archives.end()) return explanation;
  // A reader tells files by their numbers only.
  for (const std::string& path : source.Archives()) {
    cZel3Indexer index;
    if (!OpenKeptIndex(path, source.Indexes().folder, &index)) continue;
    if (!HoldsEntry(index.Files()[0], *listed, found)) continue;
    explanation.file = path;
    Locate(index, found.entryNumber, &explanation);
    break;
  }
  return explanation;
}
