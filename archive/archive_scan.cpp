#include "archive/archive_scan.h"

#include "system/failure.h"

namespace {

void OpenOrFail(const std::string& path, PlainFile* file) {
  if (!file->Open(path, PlainFile::Mode::kRead)) throw Failure("cannot open " + path);
}

}  // namespace

ScannedBytes ScanArchive(const std::string& path, FramingSink& sink,
                         const OnBytesRead& onBytesRead) {
  PlainFile file;
  OpenOrFail(path, &file);
  FramingParser parser(sink);
  FileScan scan(file, parser);
  scan.UpTo(file.Size(), onBytesRead);
  parser.Finish();
  return {file.Size(), scan.Unreadable()};
}

ScannedBytes ScanArchive(const std::string& path, FramingSink& sink, const OnBytesRead& onBytesRead,
                         const WaitForBytes& waitForBytes) {
  PlainFile file;
  OpenOrFail(path, &file);
  FramingParser parser(sink);
  FileScan scan(file, parser);
  FilePosition from = 0;
  do {
    from = scan.Position();
    scan.UpTo(waitForBytes(from), onBytesRead);
  } while (scan.Position() > from);
  parser.Finish();
  return {file.SizeNow(), scan.Unreadable()};
}
