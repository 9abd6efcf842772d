#include "sources/archive_streams.h"

#include <set>

#include "indexer/headers_file.h"
#include "indexer/plain_file.h"

std::optional<DeclaredStreams> StreamsOf(const std::string& archive, const SourceFacts& source) {
  PlainFile file;
  QVector<FilePosition> positions;
  if (source.HasIndex(archive) &&
      file.Open(source.CacheOf(archive).headers, PlainFile::Mode::kRead)) {
    LoadHeaderPositions(file, &positions);
  }
  return StreamsOfHeaders(archive, {positions.begin(), positions.end()});
}

std::optional<std::vector<unsigned>> AllStreamsOf(const SourceFacts& source) {
  std::set<unsigned> ids;
  for (const std::string& archive : source.Archives()) {
    const std::optional<DeclaredStreams> streams = StreamsOf(archive, source);
    if (!streams || !streams->ofAllHeaders) return std::nullopt;
    ids.insert(streams->ids.begin(), streams->ids.end());
  }
  return std::vector<unsigned>(ids.begin(), ids.end());
}
