#include "dump.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include "archive_source.h"
#include "interruption.h"
#include "record_printer.h"
#include "tool_error.h"

namespace {

constexpr std::size_t kBlockSize = 65536;

std::uint64_t SizeOf(std::ifstream* file) {
  file->seekg(0, std::ios::end);
  const std::streamoff size = file->tellg();
  file->seekg(0);
  return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

void Parse(const std::string& path, FramingSink& sink) {
  std::ifstream file(path, std::ios::binary);
  // What is appended meanwhile is left out, so that a dump into the folder that it reads ends.
  std::uint64_t left = SizeOf(&file);
  if (!file) throw ToolError("cannot open " + path);
  FramingParser parser(sink);
  std::vector<char> block(kBlockSize);
  while (left > 0 && file) {
    interruption::Check();
    file.read(block.data(),
              static_cast<std::streamsize>(std::min<std::uint64_t>(left, kBlockSize)));
    const auto count = static_cast<std::size_t>(file.gcount());
    parser.Feed(reinterpret_cast<const unsigned char*>(block.data()), count);
    left -= count;
    if (!std::cout) throw ToolError("cannot write to the standard output");
  }
  if (file.bad()) throw ToolError("cannot read " + path);
  parser.Finish();
}

// Whether the file is without damage.
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
  });
  if (asText) record_printer::PrintTextHeading(name);
  Parse(path, records);
  return whole;
}

}  // namespace

int RunDump(const DumpOptions& options) {
  const std::string source = archive_source::Locate(options.source);
  const std::vector<std::string> paths = archive_source::Files(source);
  if (paths.empty()) throw ToolError("no archive in " + source);
  bool whole = true;
  for (const std::string& path : paths) whole = DumpFile(path, options.style) && whole;
  return whole ? kExitDone : kExitDamaged;
}
