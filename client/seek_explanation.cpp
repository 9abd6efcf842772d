#include "client/seek_explanation.h"

#include "archive/archive_headers.h"

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

// Of the archives that end before a time, the one that ends last.
std::optional<std::uint32_t> FileBefore(const std::vector<ServedArchive>& archives,
                                        ArchiveTime time) {
  std::optional<std::uint32_t> last;
  for (std::uint32_t number = 0; number < archives.size(); ++number) {
    const ServedArchive& archive = archives[number];
    if (archive.IsLeftOut() || archive.end > time) continue;
    if (!last || archives[*last].end <= archive.end) last = number;
  }
  return last;
}

}  // namespace

SeekExplanation Explain(const FoundEntry& found, ArchiveTime time, Lookup lookup,
                        Timeline* timeline) {
  SeekExplanation explanation;
  explanation.rule = RuleOf(found, time, lookup);
  if (explanation.rule == Rule::kGap)
    explanation.fileBeforeGap = FileBefore(timeline->Archives(), time);
  const OpenedArchive* const opened = timeline->Open(found.fileNumber);
  if (opened == nullptr) return explanation;
  const KeptIndex& index = opened->Index();
  const std::size_t next = found.entryNumber + 1;
  explanation.bytes = {index.PositionOf(found.entryNumber),
                       next < index.Count() ? index.PositionOf(next) : opened->File().Size()};
  const auto position = index.HeaderFor(found.entryNumber);
  const auto header = position ? HeaderAt(opened->File(), *position) : std::nullopt;
  if (header) explanation.header = {*position, *position + SizeOfHeaderRecord(header->length)};
  return explanation;
}
