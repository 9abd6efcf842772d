#include "verbs/events.h"

#include <algorithm>

#include "archive/recorded_events.h"
#include "client/timeline.h"
#include "output/progress_bar.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "verbs/asked_source.h"
#include "verbs/empty_answer.h"
#include "verbs/event_printer.h"
#include "verbs/events_follow.h"

namespace {

bool IsWanted(const RecordedEvent& event, const OpenRange& range,
              const std::vector<std::uint8_t>& types) {
  if (range.from && event.time < *range.from) return false;
  if (range.to && event.time >= *range.to) return false;
  return types.empty() || std::find(types.begin(), types.end(), event.type) != types.end();
}

// Whether events that damage hides in an archive may be of a range: they lie after the archive
// before it, and before the one after it.
bool MayHide(const std::vector<ServedArchive>& archives, std::size_t number,
             const OpenRange& range) {
  for (std::size_t before = number; range.to && before-- > 0;) {
    if (archives[before].IsLeftOut()) continue;
    if (std::min(archives[before].end, archives[number].start) >= *range.to) return false;
    break;
  }
  for (std::size_t after = number + 1; range.from && after < archives.size(); ++after) {
    if (!archives[after].IsLeftOut())
      return std::max(archives[after].start, archives[number].end) > *range.from;
  }
  return true;
}

int Events(const HostOptions& host, const EventsOptions& options, const OpenRange& range,
           AskedSource* asked, EventPrinter* printer) {
  ServedSource source(host, asked->Given(), options.missingIndexes, asked->Teller());
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.RequireOne();

  const auto onEvent = [&](const RecordedEvent& event) {
    if (IsWanted(event, range, options.types)) printer->Print(event);
  };
  bool isWhole = timeline.IsWhole();
  const std::vector<ServedArchive>& archives = timeline.Archives();
  for (std::size_t number = 0; number < archives.size(); ++number) {
    const ServedArchive& archive = archives[number];
    if (archive.IsLeftOut()) continue;
    // One without an index is read through at once: building one reads it as well, and takes memory
    // for all events.
    const std::uint64_t damaged =
        archive.HasIndex()
            ? ForEachEvent(archive.path, source.Facts().CacheOf(archive.path), onEvent)
            : ForEachFoundEvent(archive.path, onEvent);
    if (damaged == 0 || !MayHide(archives, number, range)) continue;
    asked->Tell(source.Facts().NameOf(archive.path) + ": " + Counted(damaged, "byte") +
                (damaged == 1 ? " is" : " are") +
                " damaged or cannot be read, and events there are not known");
    isWhole = false;
  }
  if (!printer->HasPrinted())
    timeline.FailWithNothing("no event is recorded there", SecondsHint(range, timeline));
  printer->Finish();
  return isWhole ? kExitDone : kExitDamaged;
}

}  // namespace

int RunEvents(const HostOptions& host, const EventsOptions& options) {
  if (options.follow) return FollowEvents(options);
  const OpenRange range = RangeOf(options.range);
  return AnswerForEach(options.sources, options.style.format, [&](AskedSource* asked) {
    EventPrinter printer(options.style, asked);
    try {
      return RunOrPrintEmpty([&] { return Events(host, options, range, asked, &printer); },
                             [&] { printer.Finish(); });
    } catch (const Failure& failure) {
      // The answers of other sources follow.
      const bool goesOn = asked->IsOneOfMany() && failure.Code() == kExitFailed;
      if (goesOn && printer.HasPrinted()) printer.Finish();
      throw;
    }
  });
}
