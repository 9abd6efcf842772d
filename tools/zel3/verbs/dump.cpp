#include "verbs/dump.h"

#include "archive/archive_scan.h"
#include "output/notice.h"
#include "output/output_style.h"
#include "output/standard_output.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "verbs/record_printer.h"

namespace {

// Whether all of the file can be read, and without damage.
bool DumpFile(const std::string& path, const OutputStyle& style) {
  const std::string name = archive_source::FileName(path);
  const bool asText = style.format == OutputFormat::kText;
  bool whole = true;
  FoundRecords records([&](const FoundRecord& record) {
    whole = whole && record.kind != FoundRecord::Kind::kDamage &&
            record.kind != FoundRecord::Kind::kCutOff;
    if (asText) {
      record_printer::PrintText(record, style.Times());
    } else {
      record_printer::PrintJson(name, record, style.Times());
    }
    CheckStandardOutput();
  });
  if (asText) record_printer::PrintTextHeading(name);
  const ScannedBytes bytes = ScanArchive(path, records);
  records.Finish();
  if (bytes.unreadable == 0) return whole;
  PrintNotice(std::to_string(bytes.unreadable) + " bytes of " + name +
              " cannot be read; zeros stand for them");
  return false;
}

}  // namespace

int RunDump(const DumpOptions& options) {
  const std::string source = archive_source::Locate(options.source);
  const std::vector<std::string> paths = archive_source::Files(source);
  if (paths.empty()) archive_source::FailWithoutFiles(source);
  bool whole = true;
  for (const std::string& path : paths) whole = DumpFile(path, options.style) && whole;
  return whole ? kExitDone : kExitDamaged;
}
