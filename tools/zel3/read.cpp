#include "read.h"

#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <iostream>

#include "archive_client.h"
#include "archive_source.h"
#include "entry_walk.h"
#include "output_file.h"
#include "tool_error.h"

namespace {

std::string CanonicalPath(const std::string& path) {
  return QFile::encodeName(QFileInfo(QFile::decodeName(path.c_str())).canonicalFilePath())
      .constData();
}

void RefuseToOverwriteArchive(const std::string& source, const std::string& output) {
  const std::string target = CanonicalPath(output);
  if (target.empty()) return;
  for (const std::string& file : archive_source::Files(source)) {
    if (CanonicalPath(file) == target)
      throw ToolError("the output is an archive of the source", kExitUsage);
  }
}

std::string ChosenOutput(const ReadOptions& options, const std::string& source) {
  if (options.output.empty()) {
    if (isatty(STDOUT_FILENO) == 1) {
      throw ToolError("archive bytes are not for a terminal: give -o FILE, or -o - to insist",
                      kExitUsage);
    }
    return "-";
  }
  if (options.output != "-") RefuseToOverwriteArchive(source, options.output);
  return options.output;
}

}  // namespace

int RunRead(const HostOptions& host, const ReadOptions& options) {
  if (options.from >= options.to) throw ToolError("FROM must be before TO", kExitUsage);
  const std::string source = archive_source::Locate(options.source);
  OutputFile output(ChosenOutput(options, source));
  ProgressBar progress;
  ArchiveClient client(host, source, &progress);

  std::uint64_t entries = 0;
  std::uint64_t damaged = 0;
  EntryWalk walk(&client,
                 [&](std::uint32_t fileNumber, std::uint32_t entryNumber, std::uint64_t time) {
                   const auto bytes = client.Read(fileNumber, entryNumber, time);
                   ++entries;
                   if (bytes && !bytes->empty()) {
                     output.Write(*bytes);
                   } else {
                     ++damaged;
                   }
                 });
  const bool complete = walk.Visit(options.from, options.to);
  if (entries == 0) client.FailWithNothing();
  output.Finish();
  std::cerr << entries << " entries, " << output.BytesWritten() << " bytes\n";
  if (damaged > 0) std::cerr << "zel3: " << damaged << " entries could not be read\n";
  if (!complete) std::cerr << "zel3: stopped where the entries are out of order\n";
  return damaged == 0 && complete ? kExitDone : kExitDamaged;
}
