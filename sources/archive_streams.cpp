#include "sources/archive_streams.h"

#include "indexer/headers_file.h"
#include "indexer/plain_file.h"
#include "sources/index_place.h"

std::optional<DeclaredStreams> StreamsOf(const std::string& archive, const SourceFacts& source) {
  PlainFile file;
  QVector<FilePosition> positions;
  if (source.HasIndex(archive) &&
      file.Open(CacheOf(archive, source.Indexes().folder).headers, PlainFile::Mode::kRead)) {
    LoadHeaderPositions(file, &positions);
  }
  return StreamsOfHeaders(archive, {positions.begin(), positions.end()});
}
