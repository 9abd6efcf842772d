#include "client/index_past_holes.h"

#include <QFile>
#include <algorithm>

#include "archive/archive_scan.h"
#include "archive/index_collector.h"
#include "sources/archive_source.h"
#include "sources/reader_path.h"
#include "system/file_data.h"
#include "system/file_status.h"

namespace {

// Reading these takes a reader a fraction of a second.
constexpr std::uint64_t kFewHoleBytes = 256 << 20;
constexpr std::uint64_t kMostHolesToData = 16;

}  // namespace

bool IsMostlyHoles(const std::string& archive) {
  const FileHandle file = OpenForReading(archive);
  const auto status = file.IsOpen() ? StatusOf(file) : std::nullopt;
  if (!status) return false;
  const std::uint64_t data = DataBytes(file);
  const std::uint64_t holes = status->stx_size - std::min<std::uint64_t>(data, status->stx_size);
  return holes > kFewHoleBytes && holes / kMostHolesToData > data;
}

std::uint64_t BytesToIndex(const std::string& archive) {
  if (IsMostlyHoles(archive)) return DataBytes(OpenForReading(archive));
  const auto status = StatusOf(archive);
  return status ? status->stx_size : 0;
}

bool IndexPastHoles(const std::string& archive, const ServedSource& source, Progress* progress) {
  const auto status = StatusOf(archive);
  if (!status) return false;
  const ReaderPath path(archive, ReaderPath::Links::kKept);
  const FilePosition end = status->stx_size - 1;
  const HostOptions host = source.HostFor(archive);
  const HostSettings settings = SettingsOf(host);
  const SettingsInForce inForce(settings);
  cZel3Indexer indexer;
  indexer.cacheFolder = QFile::decodeName(host.cacheFolder.c_str());
  indexer.Open_file(QFile::decodeName(path.Path().c_str()), end);
  if (!indexer.Reopen_for_write()) return false;
  indexer.BeginIntake();
  IndexCollector collector(&indexer);
  WorkState work;
  work.what = "indexing";
  work.name = archive_source::FileName(archive);
  work.all = DataBytes(OpenForReading(archive));
  ScanArchive(archive, collector, [&work, progress](std::uint64_t bytes) {
    work.done += bytes;
    progress->Show(work);
  });
  progress->Clear();
  indexer.CloseLastStretch(end);
  indexer.Save_files();
  indexer.EndRun();
  return source.Facts().HasIndex(archive);
}
