#include "verbs/events.h"

#include <algorithm>

#include "archive/recorded_events.h"
#include "blocks/units.h"
#include "client/doubt.h"
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

// Whether damage in an archive may hide events of a range. Where archives follow one another, their
// neighbours bound what it may hide; otherwise it may be up to a day.
bool MayHide(const std::vector<ServedArchive>& archives, std::size_t number,
             const OpenRange& range) {
  const ServedArchive& archive = archives[number];
  ArchiveTime from = archive.start > kReachOfDoubt ? archive.start - kReachOfDoubt : 0;
  ArchiveTime to = archive.end + kReachOfDoubt;
  const ServedArchive* before = nullptr;
  bool areApart = true;
  for (const ServedArchive& each : archives) {
    if (each.IsLeftOut()) continue;
    areApart = areApart && (before == nullptr || before->end < each.start);
    before = &each;
  }
  for (const ServedArchive& each : archives) {
    if (!areApart || each.IsLeftOut()) continue;
    if (each.end < archive.start) from = std::max(from, each.end);
    if (each.start > archive.end) to = std::min(to, each.start);
  }
  return (!range.to || from < *range.to) && (!range.from || to > *range.from);
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
    // An archive without an index is read right away: building one would read it, too, and take
    // memory for all events.
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
  constexpr char kNothing[] = "no event is recorded there";
  if (!printer->HasPrinted() && !isWhole)
    throw Failure(std::string(kNothing) + ", but not everything is known", kExitDamaged);
  if (!printer->HasPrinted()) timeline.FailWithNothing(kNothing, SecondsHint(range, timeline));
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
