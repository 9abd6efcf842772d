#include "command_line/option_kinds.h"
#include "command_line/source_options.h"
#include "command_line/verb_groups.h"

namespace {

void AddDump(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb = AddVerb(app, "dump", "the records of archive files as a parser finds them",
                                 run, [options] { return RunDump(options->dump); });
  AddSources(verb, &options->dump.sources);
  AddStyle(verb, &options->dump.style, {"text", "jsonl"});
}

void AddFailOn(CLI::App* verb, Severity* target) {
  AddParsed(verb, "--fail-on", target, SeverityFromName, "severity (note, warning, error)",
            "the lowest severity that makes the exit code 3; default: warning")
      ->type_name("note|warning|error");
}

void AddDoctor(CLI::App* app, Options* options, Run* run) {
  CLI::App* const verb =
      AddVerb(app, "doctor", "what is wrong with archive files and their caches", run,
              [options] { return RunDoctor(options->host, options->doctor); });
  AddSources(verb, &options->doctor.sources);
  AddMerge(verb, &options->doctor.sources);
  verb->add_flag("--rebuild", options->doctor.rebuild,
                 "also rebuild caches that are missing or unsound; archives are never written");
  AddFailOn(verb, &options->doctor.failOn);
  AddStyle(verb, &options->doctor.style);
}

void AddReport(CLI::App* app, Options* options, Run* run) {
  ReportOptions* const report = &options->report;
  CLI::App* const verb =
      AddVerb(app, "report", "what a source holds, as one page for a browser", run,
              [options] { return RunReport(options->host, options->report); });
  AddSources(verb, &report->sources);
  AddMerge(verb, &report->sources);
  AddTimeRange(verb, &report->range, "where the range begins",
               "where it ends; default: all that is recorded");
  verb->add_option("-o,--output", report->output, "where to write; -: the standard output")
      ->type_name("PATH")
      ->required();
  AddFailOn(verb, &report->failOn);
  AddTimeFormat(verb, &report->askedTimeFormat, "default: iso");
}

}  // namespace

void AddExaminingVerbs(CLI::App* app, Options* options, Run* run) {
  AddDump(app, options, run);
  AddDoctor(app, options, run);
  AddReport(app, options, run);
}
