#include "command_line/command_line.h"

#include <iostream>
#include <memory>

#include "command_line/completion.h"
#include "command_line/option_kinds.h"
#include "command_line/parser_words.h"
#include "command_line/stray_words.h"
#include "command_line/verb_groups.h"
#include "command_line/version.h"
#include "system/failure.h"
#include "times/time_zone.h"

namespace {

constexpr char kAbout[] = "Serves recorded ZEL3 archives by time.";
constexpr char kTimesAndExitCodes[] =
    "Times are integers in the archive's own unit, or stand for milliseconds since\n"
    "1970: 2024-05-01, \"2024-05-01 12:00\", 2024-05-01T12:00:00.250+02:00, today,\n"
    "\"yesterday 18:30\", now, -1h30m, @1714564800 (seconds). Without an offset they are in\n"
    "the time zone of --time-zone. Lengths of time: 90 (seconds), 10m, 1h30m, 1d12h.\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 usage, 3 done but something was damaged or skipped,\n"
    "4 nothing at that time, 130 interrupted.";

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

// In force when verbs read times: their options are taken after those of the program.
void AddTimeZone(CLI::App* app) {
  const auto use = [](const std::string& text) { UseTimeZone(TimeZoneNamed(text)); };
  AddTaken(app, "--time-zone", use,
           "time zone of times read and shown: UTC (default), local, Europe/Berlin, +02:00")
      ->type_name("local|ZONE");
}

void AddAll(CLI::App* app, Options* options, Run* run) {
  app->footer(kTimesAndExitCodes);
  app->require_subcommand(1);
  AddHostOptions(app, &options->host);
  AddTimeZone(app);
  // After the options that it depends on.
  app->set_version_flag("--version", "", "print the versions and which plug-ins would be loaded");
  AddArchiveVerbs(app, options, run);
  AddTimeVerbs(app, options, run);
  AddCuttingVerbs(app, options, run);
  AddExaminingVerbs(app, options, run);
  AddPlugInVerbs(app, options, run);
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
    app.parse(WordsForParser(app, argc, argv));
  } catch (const CLI::CallForHelp&) {
    return Printing(app.help());
  } catch (const CLI::CallForVersion&) {
    return [options] { return RunVersion(options->host); };
  } catch (const CLI::RequiredError& error) {
    const bool verbGiven = !app.get_subcommands().empty();
    const std::string missing = verbGiven ? error.what() : "no verb given; zel3 --help lists them";
    throw Failure(AboutStrayWords(app).value_or(missing), kExitUsage);
  } catch (const CLI::ParseError& error) {
    throw Failure(AboutStrayWords(app).value_or(error.what()), kExitUsage);
  }
  return [options, run] { return run(); };
}
