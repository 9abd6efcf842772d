#include "verbs/events.h"

#include <algorithm>

#include "archive/recorded_events.h"
#include "client/archive_client.h"
#include "client/index_builder.h"
#include "output/notice.h"
#include "output/progress_bar.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "verbs/event_printer.h"
#include "verbs/time_range.h"

namespace {

bool IsWanted(const RecordedEvent& event, const EventsOptions& options) {
  if (event.time < options.from || event.time >= options.to) return false;
  const auto& types = options.types;
  return types.empty() || std::find(types.begin(), types.end(), event.type) != types.end();
}

// Gives every archive its index.
void IndexAll(const ServedSource& source, Progress* progress) {
  // A reader takes memory for all events of what it opens.
  if (source.Facts().HasAllIndexes() && !source.Facts().Archives().empty()) return;
  for (const IndexedFile& file : BuildIndexes(source, progress)) {
    if (file.state != FileState::kFailed) return;
  }
  if (!source.Facts().IsFolder())
    throw Failure(archive_source::FileName(source.Path()) + " " + kWhyNoIndex);
  throw Failure("no file in " + source.Path() + " can be indexed; zel3 index says why");
}

// By name.
std::vector<std::string> ArchivesWithIndex(const SourceFacts& source) {
  std::vector<std::string> archives = source.Archives();
  archives.erase(
      std::remove_if(archives.begin(), archives.end(),
                     [&source](const std::string& archive) { return !source.HasIndex(archive); }),
      archives.end());
  if (archives.empty() && !source.IsFolder()) {
    throw Failure(archive_source::FileName(source.Path()) + " has no index, and none is built",
                  kExitNothing);
  }
  return archives;
}

}  // namespace

int RunEvents(const HostOptions& host, const EventsOptions& options) {
  CheckTimeRange(options.from, options.to);
  const ServedSource source(host, options.source, options.missingIndexes, PrintNotice);
  const SourceFacts& facts = source.Facts();
  ProgressBar progress;
  if (source.Missing() == MissingIndexes::kBuild) IndexAll(source, &progress);
  const std::vector<std::string> archives = ArchivesWithIndex(facts);
  bool isComplete = archives.size() == facts.Files().size();
  if (!isComplete) PrintNotice("files without an index are left out; zel3 index names them");

  EventPrinter printer(options.style);
  const auto onEvent = [&](const RecordedEvent& event) {
    if (IsWanted(event, options)) printer.Print(event);
  };
  for (const std::string& archive : archives) {
    const CacheNames names = CacheOf(archive, facts.Indexes().folder);
    if (ForEachEvent(archive, names, onEvent)) continue;
    PrintNotice(archive_source::FileName(archive) + " cannot be read in part");
    isComplete = false;
  }
  printer.Finish();
  if (!printer.HasPrinted()) throw Failure("no event is recorded there", kExitNothing);
  return isComplete ? kExitDone : kExitDamaged;
}
