#include "command_line/command_line.h"

#include <iostream>
#include <limits>
#include <memory>

#include "archive/event_types.h"
#include "command_line/completion.h"
#include "command_line/option_kinds.h"
#include "command_line/version.h"
#include "sources/host_options.h"
#include "system/failure.h"
#include "verbs/activity.h"
#include "verbs/console.h"
#include "verbs/doctor.h"
#include "verbs/dump.h"
#include "verbs/events.h"
#include "verbs/index.h"
#include "verbs/info.h"
#include "verbs/inspect.h"
#include "verbs/make.h"
#include "verbs/preview.h"
#include "verbs/read.h"
#include "verbs/report.h"
#include "verbs/seek.h"

namespace {

struct Options {
  HostOptions host;
  MakeOptions make;
  InfoOptions info;
  IndexOptions index;
  SeekOptions seek;
  ReadOptions read;
  EventsOptions events;
  ActivityOptions activity;
  PreviewOptions preview;
  DumpOptions dump;
  DoctorOptions doctor;
  ReportOptions report;
  ConsoleOptions console;
  InspectOptions inspect;
  completion::Script completionScript = nullptr;
};

constexpr char kAbout[] = "Serves recorded ZEL3 archives by time.";
constexpr char kTimesAndExitCodes[] =
    "Times are integers in the archive's own unit, or UTC dates that stand for the\n"
    "milliseconds since 1970: 2024-05-01, 2024-05-01T06:00:00Z, 2024-05-01T06:00:00.250Z.\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 usage, 3 done but something was damaged or skipped,\n"
    "4 nothing at that time, 130 interrupted.";
constexpr char kVerbFooter[] = "The options of the program (zel3 --help) may stand here, too.";

std::optional<std::uint64_t> ByteLimitFromText(const std::string& text) {
  if (text == "all") return std::numeric_limits<std::uint64_t>::max();
  if (text == "none") return 0;
  return NumberFromText<std::uint64_t>(text);
}

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

void AddNoIndex(CLI::App* app, MissingIndexes* missing) {
  app->add_flag_callback(
      "--no-index", [missing] { *missing = MissingIndexes::kLeaveOut; },
      "leave out files that have no index instead of building it");
}

// The verbs. Each gets its options and is set to run when it is the one that is asked for.

using Run = std::function<int()>;

CLI::App* AddVerb(CLI::App* app, const std::string& name, const std::string& help, Run* run,
                  const Run& runVerb) {
  CLI::App* const verb = app->add_subcommand(name, help);
  verb->fallthrough();
  verb->footer(kVerbFooter);
  verb->callback([run, runVerb] { *run = runVerb; });
  return verb;
}

void AddMake(CLI::App* app, Options* options, Run* run) {
  MakeOptions* const make = &options->make;
  CLI::App* const verb = AddVerb(app, "make", "write a folder of sample archives", run,
                                 [make] { return RunMake(*make); });
  AddPath(verb, "FOLDER", &make->folder, "where to write; made when missing")->required();
  AddNumber(verb, "--seed", &make->seed, "other contents of the same shape");
  AddTime(verb, "--start", &make->start, "when the recording starts");
  AddDuration(
      verb, "--length", &make->lengthSeconds,
      "how long it lasts, gaps included: 90, 15m, 6h, 1d; leaves out the sample day's gaps and "
      "change of streams");
  AddNumber(verb, "--files", &make->fileCount,
            "into how many files it is cut; leaves out the same as --length");
  AddDuration(verb, "--interval", &make->intervalSeconds, "from one index entry to the next");
  AddParsed(verb, "--gap", &make->gaps, GapsFromText, "list of gaps",
            "gaps after files, numbered from 0: 1:30m,4:1h; or none")
      ->type_name("none|FILE:DURATION,...");
  AddNumber(verb, "--payload", &make->payloadBytes, "mean bytes of data in an entry");
  AddNumber(verb, "--events", &make->eventsPerHour, "mean number of events in an hour");
  verb->add_option("--name", make->namePrefix, "what the file names begin with");
  AddPath(verb, "--truth", &make->truthFile, "also write what is at which time, as JSON");
  verb->add_flag("--force", make->force, "also where archives are already");
  AddStyle(verb, &make->style);
}

void AddInfo(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb = AddVerb(app, "info", "which archives a source holds", run,
                                 [options] { return RunInfo(options->host, options->info); });
  AddPath(verb, "SOURCE", &options->info.source, "an archive file or a folder of them")->required();
  AddStyle(verb, &options->info.style);
}

void AddIndex(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb =
      AddVerb(app, "index", "build the missing indexes of all files of a source", run,
              [options] { return RunIndex(options->host, options->index); });
  AddPath(verb, "SOURCE", &options->index.source, "an archive file or a folder of them")
      ->required();
  AddStyle(verb, &options->index.style);
}

void AddSeek(CLI::App* app, Options* options, Run* run) {
  SeekOptions* const seek = &options->seek;
  CLI::App* const verb = AddVerb(app, "seek", "which index entry a time belongs to", run,
                                 [options] { return RunSeek(options->host, options->seek); });
  AddPath(verb, "SOURCE", &seek->source, "an archive file or a folder of them")->required();
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
                 "also tell why, where its bytes are, and what the answer has cost");
  AddStyle(verb, &seek->style);
}

void AddRead(CLI::App* app, Options* options, Run* run) {
  ReadOptions* const read = &options->read;
  CLI::App* const verb = AddVerb(app, "read", "the archive bytes of a range of time", run,
                                 [options] { return RunRead(options->host, options->read); });
  AddPath(verb, "SOURCE", &read->source, "an archive file or a folder of them")->required();
  AddTime(verb, "FROM", &read->from, "begins with the entry at or before this time")->required();
  AddTime(verb, "TO", &read->to, "ends before the first entry at or after this time")->required();
  verb->add_option("-o,--output", read->output, "where to write; -: the standard output (default)")
      ->type_name("PATH");
  verb->add_flag("--stop-at-gap", read->stopAtGap, "end where nothing is recorded");
  AddStyle(verb, &read->style);
}

void AddEvents(CLI::App* app, Options* options, Run* run) {
  EventsOptions* const events = &options->events;
  CLI::App* const verb = AddVerb(app, "events", "what has happened", run,
                                 [options] { return RunEvents(options->host, options->events); });
  AddPath(verb, "SOURCE", &events->source, "an archive file or a folder of them")->required();
  CLI::Option* const from = AddTime(verb, "FROM", &events->from, "events at or after this time");
  from->needs(AddTime(verb, "TO", &events->to, "and before this one; default: all events"));
  const auto addType = [events](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const std::optional<std::uint8_t> type = event_types::FromText(text);
      if (!type) throw CLI::ValidationError("--type", "'" + text + "' is no type of event");
      events->types.push_back(*type);
    }
  };
  verb->add_option_function<std::vector<std::string>>("--type", addType,
                                                      "only events of this type; may be repeated")
      ->allow_extra_args(false)
      ->type_name(CLI::detail::join(event_types::Names(), "|") + "|NUMBER");
  AddNoIndex(verb, &events->missingIndexes);
  AddStyle(verb, &events->style, {"text", "jsonl", "csv", "json"});
}

void AddActivity(CLI::App* app, Options* options, Run* run) {
  ActivityOptions* const activity = &options->activity;
  CLI::App* const verb =
      AddVerb(app, "activity", "how active a stream was, and where nothing is recorded", run,
              [options] { return RunActivity(options->host, options->activity); });
  AddPath(verb, "SOURCE", &activity->source, "an archive file or a folder of them")->required();
  CLI::Option* const from = AddTime(verb, "FROM", &activity->from, "where the range begins");
  from->needs(
      AddTime(verb, "TO", &activity->to, "where it ends; default: from first to last archive"));
  AddNumber(verb, "--stream", &activity->streamId, "number of the stream")->required();
  AddNumber(verb, "--bins", &activity->binCount,
            "into how many parts the range is cut; default: 96");
  AddNoIndex(verb, &activity->missingIndexes);
  AddStyle(verb, &activity->style, {"text", "json", "csv"});
}

void AddPreview(CLI::App* app, Options* options, Run* run) {
  PreviewOptions* const preview = &options->preview;
  CLI::App* const verb = AddVerb(app, "preview", "which entries to show for a range of time", run,
                                 [options] { return RunPreview(options->host, options->preview); });
  AddPath(verb, "SOURCE", &preview->source, "an archive file or a folder of them")->required();
  AddTime(verb, "FROM", &preview->from, "the first time to show")->required();
  AddTime(verb, "TO", &preview->to, "where the range ends")->required();
  AddNumber(verb, "--count", &preview->count, "how many times, evenly spaced; default: 10");
  AddStyle(verb, &preview->style, {"text", "json", "csv"});
}

void AddDump(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb = AddVerb(app, "dump", "the records of archive files as a parser finds them",
                                 run, [options] { return RunDump(options->dump); });
  AddPath(verb, "SOURCE", &options->dump.source, "an archive file or a folder of them")->required();
  AddStyle(verb, &options->dump.style, {"text", "jsonl"});
}

void AddDoctor(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb =
      AddVerb(app, "doctor", "what is wrong with archive files and their caches", run,
              [options] { return RunDoctor(options->host, options->doctor); });
  AddPath(verb, "SOURCE", &options->doctor.source, "an archive file or a folder of them")
      ->required();
  verb->add_flag("--rebuild", options->doctor.rebuild,
                 "also make caches that are missing or unsound anew; archives are never written");
  AddStyle(verb, &options->doctor.style);
}

void AddReport(CLI::App* app, Options* options, Run* run) {
  ReportOptions* const report = &options->report;
  CLI::App* const verb =
      AddVerb(app, "report", "what a source holds, as one page for a browser", run,
              [options] { return RunReport(options->host, options->report); });
  AddPath(verb, "SOURCE", &report->source, "an archive file or a folder of them")->required();
  CLI::Option* const from = AddTime(verb, "FROM", &report->from, "where the range begins");
  from->needs(AddTime(verb, "TO", &report->to, "where it ends; default: all that is recorded"));
  verb->add_option("-o,--output", report->output, "where to write; -: the standard output")
      ->type_name("PATH")
      ->required();
  AddTimeFormat(verb, &report->askedTimeFormat, "default: iso");
}

void AddConsole(CLI::App* app, Options* options, Run* run) {
  ConsoleOptions* const console = &options->console;
  CLI::App* const verb = AddVerb(app, "console", "drive the reader with JSON lines", run,
                                 [options] { return RunConsole(options->host, options->console); });
  AddPath(verb, "SOURCE", &console->source, "what the reader opens")->required();
  verb->add_flag("--all", console->showAll, "print every block that reaches the client");
  AddParsed(verb, "--bytes", &console->byteLimit, ByteLimitFromText,
            "limit (all, none or a number)",
            "how much of raw data is shown: all (default), none or the first N bytes")
      ->type_name("all|none|NUMBER");
  verb->add_flag_callback(
      "--no-parser", [options] { options->host.offerParser = false; }, "the host offers no parser");
}

void AddInspect(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb = AddVerb(app, "inspect", "what a plug-in accepts, answers and needs", run,
                                 [options] { return RunInspect(options->host, options->inspect); });
  AddPath(verb, "PLUGIN_FILE", &options->inspect.file,
          "a plug-in; default: the reader and the parser that would be loaded");
  AddFormat(verb, &options->inspect.format);
}

void AddCompletion(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb =
      AddVerb(app, "completion", "a script that lets a shell complete commands", run, [options] {
        std::cout << options->completionScript(DescribeCommandLine());
        return kExitDone;
      });
  AddParsed(verb, "SHELL", &options->completionScript, completion::ScriptFor,
            "shell (bash, zsh, fish)", "for which shell")
      ->required()
      ->type_name("bash|zsh|fish");
}

void AddHostOptions(CLI::App* app, HostOptions* host) {
  AddPath(app, "--plugin-folder", &host->pluginFolder, "where the plug-ins are");
  AddPath(app, "--settings-folder", &host->settingsFolder, "where the host keeps its settings");
  AddPath(app, "--cache-folder", &host->cacheFolder,
          "where the reader keeps its indexes; default: beside the archives");
}

void AddAll(CLI::App* app, Options* options, Run* run) {
  app->footer(kTimesAndExitCodes);
  app->require_subcommand(1);
  AddHostOptions(app, &options->host);
  // Behind the options that it goes by.
  app->set_version_flag("--version", "", "print the versions and which plug-ins would be loaded");
  AddMake(app, options, run);
  AddInfo(app, options, run);
  AddIndex(app, options, run);
  AddSeek(app, options, run);
  AddRead(app, options, run);
  AddEvents(app, options, run);
  AddActivity(app, options, run);
  AddPreview(app, options, run);
  AddDump(app, options, run);
  AddDoctor(app, options, run);
  AddReport(app, options, run);
  AddConsole(app, options, run);
  AddInspect(app, options, run);
  AddCompletion(app, options, run);
}

Run Printing(const std::string& text) {
  return [text] {
    std::cout << text;
    return static_cast<int>(kExitDone);
  };
}

}  // namespace

CommandDescription DescribeCommandLine() {
  Options options;
  Run run;
  CLI::App app(kAbout, "zel3");
  AddAll(&app, &options, &run);
  return DescribeApp(app);
}

std::function<int()> ParseCommandLine(int argc, char** argv) {
  const auto options = std::make_shared<Options>();
  Run run;
  CLI::App app(kAbout, "zel3");
  AddAll(&app, options.get(), &run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return Printing(app.help());
  } catch (const CLI::CallForVersion&) {
    return [options] { return RunVersion(options->host); };
  } catch (const CLI::RequiredError& error) {
    const bool verbGiven = !app.get_subcommands().empty();
    throw Failure(verbGiven ? error.what() : "a verb is missing or unknown; zel3 --help names them",
                  kExitUsage);
  } catch (const CLI::ParseError& error) {
    throw Failure(error.what(), kExitUsage);
  }
  return [options, run] { return run(); };
}
