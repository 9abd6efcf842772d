#include "archive_host.h"

#include <cstring>

#include "blocks/tags.h"

namespace {

void CopyText(char (&field)[261], const std::string& text) {
  std::strncpy(field, text.c_str(), sizeof(field) - 1);
}

}  // namespace

ArchiveHost::ArchiveHost(const std::string& source, const std::string& cacheFolder) {
  TBrickConfig config = {};
  config.ownerContext = mPipeline.Id();
  mClient->Create(config);
  config.signature = tag::kSignatureReader;
  config.input = {tag::kFormatZel3, tag::kKindFolder};
  config.output = {tag::kFormatZel3, tag::kRawData};
  CopyText(config.sourcePath, source);
  CopyText(config.cacheFolder, cacheFolder);
  mClient->ConnectAfter(mReader.get());
  mReader->Create(config);
  Run();
}

ArchiveHost::~ArchiveHost() {
  mReader.reset();
  // Ends the children of the reader.
  Run();
}

std::uint32_t ArchiveHost::ArchiveCount() {
  const cMemBlock& answer = Ask(ArchivesRequestBlock::New());
  if (answer.GetType() != tag::kArchives) return 0;
  return ArchivesBlock::View(answer).Record().count;
}
