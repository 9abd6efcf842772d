#include "verbs/dump.h"

#include "archive/archive_scan.h"
#include "output/output_style.h"
#include "output/standard_output.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "verbs/asked_source.h"
#include "verbs/record_printer.h"

namespace {

// Whether all of the file can be read, and without damage.
bool DumpFile(const std::string& path, const OutputStyle& style, AskedSource* asked) {
  const std::string name = archive_source::FileName(path);
  const bool asText = style.format == OutputFormat::kText;
  bool whole = true;
  FoundRecords records([&](const FoundRecord& record) {
    whole = whole && record.kind != FoundRecord::Kind::kDamage &&
            record.kind != FoundRecord::Kind::kCutOff;
    if (asText) {
      record_printer::PrintText(record, style.Times());
    } else {
      asked->PrintJsonRow(record_printer::AsJson(name, record, style.Times()));
    }
    CheckStandardOutput();
  });
  if (asText) record_printer::PrintTextHeading(name);
  const ScannedBytes bytes = ScanArchive(path, records);
  records.Finish();
  if (bytes.unreadable == 0) return whole;
  asked->Tell(std::to_string(bytes.unreadable) + " bytes of " + name +
              " cannot be read and are taken as zeros");
  return false;
}

int Dump(const DumpOptions& options, AskedSource* asked) {
  const GivenSource& source = asked->Given();
  if (source.files.empty()) archive_source::FailWithoutFiles(source.path);
  if (options.style.format == OutputFormat::kText) asked->BeginText();
  bool whole = true;
  for (const std::string& path : source.files)
    whole = DumpFile(path, options.style, asked) && whole;
  return whole ? kExitDone : kExitDamaged;
}

}  // namespace

int RunDump(const DumpOptions& options) {
  return AnswerForEach(options.sources, options.style.format,
                       [&](AskedSource* asked) { return Dump(options, asked); });
}
