#include "archive/event_types.h"
#include "command_line/option_kinds.h"
#include "command_line/source_options.h"
#include "command_line/verb_groups.h"

namespace {

void AddNoIndex(CLI::App* app, MissingIndexes* missing) {
  app->add_flag_callback(
      "--no-index", [missing] { *missing = MissingIndexes::kLeaveOut; },
      "leave out files that have no index instead of building one");
}

void AddSeek(CLI::App* app, Options* options, Run* run) {
  SeekOptions* const seek = &options->seek;
  CLI::App* const verb = AddVerb(app, "seek", "which index entry a time belongs to", run,
                                 [options] { return RunSeek(options->host, options->seek); });
  AddSources(verb, &seek->sources);
  AddMerge(verb, &seek->sources);
  AddTime(verb, "TIME", &seek->time, "the time to look for")->required();
  const auto lookup = [](const std::string& text) -> std::optional<Lookup> {
    if (text == "1") return Lookup::kAtOrBefore;
    if (text == "2") return Lookup::kNext;
    return std::nullopt;
  };
  const auto type = AddParsed(verb, "--type", &seek->lookup, lookup, "lookup type (1, 2)",
                              "1: the entry at or before TIME (default); 2: the same as --next")
                        ->type_name("1|2");
  const auto next = verb->add_flag_callback(
      "--next", [seek] { seek->lookup = Lookup::kNext; },
      "the entry after the one at or before TIME");
  const auto previous = verb->add_flag_callback(
      "--previous", [seek] { seek->lookup = Lookup::kPrevious; },
      "the entry before the one at or before TIME");
  next->excludes(type);
  previous->excludes(type)->excludes(next);
  verb->add_flag("--explain", seek->explain,
                 "also say why, where its bytes are, and what the answer cost");
  AddStyle(verb, &seek->style);
}

void AddRead(CLI::App* app, Options* options, Run* run) {
  ReadOptions* const read = &options->read;
  CLI::App* const verb = AddVerb(app, "read", "the archive bytes of a range of time", run,
                                 [options] { return RunRead(options->host, options->read); });
  AddSources(verb, &read->sources, Times::kNeeded);
  AddMerge(verb, &read->sources);
  AddTimeRange(verb, &read->range, "begins with the entry at or before this time",
               "ends before the first entry at or after this time");
  verb->add_option("-o,--output", read->output, "where to write; -: the standard output (default)")
      ->type_name("PATH");
  verb->add_flag("--follow", read->follow,
                 "go on with new records as they are written, until interrupted");
  verb->add_flag("--stop-at-gap", read->stopAtGap, "stop at the first gap");
  AddStyle(verb, &read->style);
}

void AddEvents(CLI::App* app, Options* options, Run* run) {
  EventsOptions* const events = &options->events;
  CLI::App* const verb = AddVerb(app, "events", "what happened", run,
                                 [options] { return RunEvents(options->host, options->events); });
  AddSources(verb, &events->sources);
  AddMerge(verb, &events->sources);
  AddTimeRange(verb, &events->range, "events at or after this time",
               "and before this one; default: all events");
  const auto addType = [events](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const std::optional<std::uint8_t> type = event_types::FromText(text);
      if (!type) throw CLI::ValidationError("--type", "'" + text + "' is not a type of event");
      events->types.push_back(*type);
    }
  };
  verb->add_option_function<std::vector<std::string>>("--type", addType,
                                                      "only events of this type; may be repeated")
      ->allow_extra_args(false)
      ->type_name(CLI::detail::join(event_types::Names(), "|") + "|NUMBER");
  verb->add_flag("--follow", events->follow,
                 "go on with new events as they are written, until interrupted");
  AddNoIndex(verb, &events->missingIndexes);
  AddStyle(verb, &events->style, {"text", "jsonl", "csv", "json"});
}

void AddActivity(CLI::App* app, Options* options, Run* run) {
  ActivityOptions* const activity = &options->activity;
  CLI::App* const verb =
      AddVerb(app, "activity", "how active a stream was, and where nothing is recorded", run,
              [options] { return RunActivity(options->host, options->activity); });
  AddSources(verb, &activity->sources);
  AddMerge(verb, &activity->sources);
  AddTimeRange(verb, &activity->range, "where the range begins",
               "where it ends; default: from first to last archive");
  AddNumber(verb, "--stream", &activity->streamId, "number of the stream")->required();
  AddNumber(verb, "--bins", &activity->binCount,
            "how many parts to divide the range into; default: 96, on a terminal its width");
  AddNoIndex(verb, &activity->missingIndexes);
  AddStyle(verb, &activity->style, {"text", "json", "csv"});
}

void AddGaps(CLI::App* app, Options* options, Run* run) {
  GapsOptions* const gaps = &options->gaps;
  CLI::App* const verb = AddVerb(app, "gaps", "when nothing was recorded", run,
                                 [options] { return RunGaps(options->host, options->gaps); });
  AddSources(verb, &gaps->sources);
  AddMerge(verb, &gaps->sources);
  AddTimeRange(verb, &gaps->range, "where the range begins",
               "where it ends; default: all that is recorded");
  AddDuration(verb, "--longer-than", &gaps->longerThanSeconds,
              "list only gaps that are longer, and count the others: 90, 15m, 1h30m, 1d");
  AddNoIndex(verb, &gaps->missingIndexes);
  AddStyle(verb, &gaps->style, {"text", "json", "jsonl", "csv"});
}

void AddCalendar(CLI::App* app, Options* options, Run* run) {
  CalendarOptions* const calendar = &options->calendar;
  CLI::App* const verb =
      AddVerb(app, "calendar", "how much of each hour of each day is recorded", run,
              [options] { return RunCalendar(options->host, options->calendar); });
  AddSources(verb, &calendar->sources);
  AddMerge(verb, &calendar->sources);
  AddTimeRange(verb, &calendar->range, "where the range begins",
               "where it ends; default: all days on which something is recorded");
  AddNoIndex(verb, &calendar->missingIndexes);
  AddStyle(verb, &calendar->style, {"text", "json", "jsonl", "csv"});
}

void AddPreview(CLI::App* app, Options* options, Run* run) {
  PreviewOptions* const preview = &options->preview;
  CLI::App* const verb = AddVerb(app, "preview", "which entries to show for a range of time", run,
                                 [options] { return RunPreview(options->host, options->preview); });
  AddSources(verb, &preview->sources, Times::kNeeded);
  AddMerge(verb, &preview->sources);
  AddTimeRange(verb, &preview->range, "the first time to show", "where the range ends");
  AddNumber(verb, "--count", &preview->count, "how many times, evenly spaced; default: 10");
  AddStyle(verb, &preview->style, {"text", "json", "csv"});
}

}  // namespace

void AddTimeVerbs(CLI::App* app, Options* options, Run* run) {
  AddSeek(app, options, run);
  AddRead(app, options, run);
  AddEvents(app, options, run);
  AddActivity(app, options, run);
  AddGaps(app, options, run);
  AddCalendar(app, options, run);
  AddPreview(app, options, run);
}
