#include <limits>

#include "command_line/option_kinds.h"
#include "command_line/verb_groups.h"

namespace {

std::optional<std::uint64_t> ByteLimitFromText(const std::string& text) {
  if (text == "all") return std::numeric_limits<std::uint64_t>::max();
  if (text == "none") return 0;
  return NumberFromText<std::uint64_t>(text);
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

}  // namespace

void AddPlugInVerbs(CLI::App* app, Options* options, Run* run) {
  AddConsole(app, options, run);
  AddInspect(app, options, run);
}
