#include "seek.h"

#include "archive_source.h"
#include "tool_error.h"

namespace {

// Looking back from the only entry of a file, the reader answers with the entry before the first.
constexpr std::uint32_t kBeforeFirstEntry = ~std::uint32_t{0};

void PrintAsJson(const FoundEntry& found, TimeFormat times) {
  nlohmann::ordered_json json;
  json["fileNumber"] = found.fileNumber;
  json["entryNumber"] = found.entryNumber;
  json["time"] = TimeJson(found.time, times);
  PrintJsonLine(json);
}

void PrintAsText(const FoundEntry& found, TimeFormat times) {
  PrintTable({{"file", "entry", "time"},
              {std::to_string(found.fileNumber), std::to_string(found.entryNumber),
               TimeText(found.time, times)}});
}

}  // namespace

int RunSeek(const HostOptions& host, const SeekOptions& options) {
  ProgressBar progress;
  ArchiveClient client(host, archive_source::Locate(options.source), &progress);
  const std::optional<FoundEntry> found = client.Find(options.time, options.lookup);
  if (!found || found->entryNumber == kBeforeFirstEntry) client.FailWithNothing();
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(*found, options.style.Times());
  } else {
    PrintAsText(*found, options.style.Times());
  }
  return kExitDone;
}
