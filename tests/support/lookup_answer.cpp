#include "support/lookup_answer.h"

#include <ostream>

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
  if (!answer.found && answer == kNothing) return stream << "nothing";
  return stream << (answer.found ? "file " : "not found, but file ") << answer.file << " entry "
                << answer.entry << " time " << answer.time;
}

std::ostream& operator<<(std::ostream& stream, Ask ask) {
  const char* const names[] = {"at or before", "the one after", "the one before"};
  return stream << names[static_cast<int>(ask)];
}

Answer Look(cZel3Indexer& index, std::uint64_t time, Ask ask) {
  return LookWithType(index, time, ask == Ask::kAtOrBefore ? 1 : 2, ask != Ask::kBackward);
}

Answer LookWithType(cZel3Indexer& index, std::uint64_t time, std::uint32_t type, bool forward) {
  TZEL3ChunkInfo info;
  info.indexId = MakeIndexId(77, 77);
  info.time = 77;
  Answer answer;
  answer.found = index.IndexInfoFromTime(time, type, forward, &info);
  answer.file = static_cast<std::int32_t>(FileNumber(info.indexId));
  answer.entry = static_cast<std::int32_t>(EntryNumber(info.indexId));
  answer.time = info.time;
  return answer;
}
