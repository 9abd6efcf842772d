#include "command_line/option_kinds.h"
#include "command_line/source_options.h"
#include "command_line/verb_groups.h"

namespace {

std::optional<std::vector<ScenarioGap>> GapsFromText(const std::string& text) {
  std::vector<ScenarioGap> gaps;
  if (text == "none") return gaps;
  for (const std::string& part : CLI::detail::split(text, ',')) {
    const std::size_t colon = part.find(':');
    if (colon == std::string::npos) return std::nullopt;
    const auto file = NumberFromText<std::uint32_t>(part.substr(0, colon));
    const auto seconds = SecondsFromText(part.substr(colon + 1));
    if (!file || !seconds) return std::nullopt;
    gaps.push_back({*file, *seconds});
  }
  return gaps;
}

void AddMake(CLI::App* app, Options* options, Run* run) {
  MakeOptions* const make = &options->make;
  CLI::App* const verb = AddVerb(app, "make", "write a folder of sample archives", run,
                                 [make] { return RunMake(*make); });
  AddPath(verb, "FOLDER", &make->folder, "where to write; made when missing")->required();
  AddNumber(verb, "--seed", &make->seed, "other contents of the same shape");
  const auto takeStart = [make](const std::string& text) {
    // A recording starts at a full second, even when its start is given as a time ago.
    TimeReference reference = TimeReferenceInForce();
    reference.now -= reference.now % 1000;
    make->start = TimeFromText(text, reference);
  };
  AddTaken(verb, "--start", takeStart, "when the recording starts")->type_name("TIME");
  AddDuration(
      verb, "--length", &make->lengthSeconds,
      "how long it lasts, gaps included: 90, 15m, 6h, 1d; leaves out the sample day's gaps and "
      "change of streams");
  AddNumber(verb, "--files", &make->fileCount,
            "how many files to divide it into; leaves out the same as --length");
  AddDuration(verb, "--interval", &make->intervalSeconds, "time from one index entry to the next");
  AddParsed(verb, "--gap", &make->gaps, GapsFromText, "list of gaps",
            "gaps after files, numbered from 0: 1:30m,4:1h; or none")
      ->type_name("none|FILE:DURATION,...");
  AddNumber(verb, "--payload", &make->payloadBytes, "mean bytes of data in an entry");
  AddNumber(verb, "--events", &make->eventsPerHour, "mean number of events in an hour");
  verb->add_option("--name", make->namePrefix, "what the file names begin with");
  AddPath(verb, "--truth", &make->truthFile, "also write what was recorded at which time, as JSON");
  verb->add_flag("--force", make->force, "write even where there are archives already");
  AddStyle(verb, &make->style);
}

void AddInfo(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb = AddVerb(app, "info", "which archives a source holds", run,
                                 [options] { return RunInfo(options->host, options->info); });
  AddSources(verb, &options->info.sources);
  AddMerge(verb, &options->info.sources);
  AddStyle(verb, &options->info.style);
}

void AddIndex(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb =
      AddVerb(app, "index", "build the missing indexes of all files of a source", run,
              [options] { return RunIndex(options->host, options->index); });
  AddSources(verb, &options->index.sources);
  AddMerge(verb, &options->index.sources);
  verb->add_flag("--refresh", options->index.refresh, "also rebuild the indexes that are there");
  verb->add_flag("--watch", options->index.watch,
                 "go on with files as they are finished, until interrupted");
  const auto jobs = [](const std::string& text) {
    const auto number = NumberFromText<std::size_t>(text);
    return number == std::size_t{0} ? std::nullopt : number;
  };
  AddParsed(verb, "-j,--jobs", &options->index.jobs, jobs, "number from 1 on",
            "how many files to index at once, each in its own process; default: 1")
      ->type_name("NUMBER");
  AddStyle(verb, &options->index.style, {"text", "json", "jsonl"});
}

void AddCaches(CLI::App* app, Options* options, Run* run) {
  CachesOptions* const caches = &options->caches;
  CLI::App* const verb =
      AddVerb(app, "caches", "which indexes are kept where, and which are of use", run,
              [options] { return RunCaches(options->host, options->caches); });
  verb->add_option("SOURCE", caches->sources,
                   "archive files, or folders of them, to look beside as well")
      ->type_name("PATH");
  const auto wish = [caches](cache_removal::Wish wanted) {
    return [caches, wanted] { caches->wish = wanted; };
  };
  CLI::Option* const orphans =
      verb->add_flag_callback("--remove-orphans", wish(cache_removal::Wish::kOrphans),
                              "remove what no archive will use again");
  CLI::Option* const all =
      verb->add_flag_callback("--remove-all", wish(cache_removal::Wish::kAll),
                              "remove all of them; they are built again when needed");
  all->excludes(orphans);
  verb->add_flag("--dry-run", caches->onlyLooks, "say what would be removed, and remove nothing");
  AddFormat(verb, &caches->format);
}

}  // namespace

void AddArchiveVerbs(CLI::App* app, Options* options, Run* run) {
  AddMake(app, options, run);
  AddInfo(app, options, run);
  AddIndex(app, options, run);
  AddCaches(app, options, run);
}
