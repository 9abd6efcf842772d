#include "archive/archive_scan.h"

#include "system/failure.h"

ScannedBytes ScanArchive(const std::string& path, FramingSink& sink,
                         const OnBytesRead& onBytesRead) {
  PlainFile file;
  if (!file.Open(path, PlainFile::Mode::kRead)) throw Failure("cannot open " + path);
  FramingParser parser(sink);
  FileScan scan(file, parser);
  scan.UpTo(file.Size(), onBytesRead);
  parser.Finish();
  return {file.Size(), scan.Unreadable()};
}
