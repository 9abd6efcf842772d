#include "command_line/verb_groups.h"

namespace {

constexpr char kVerbFooter[] = "The options of the program (zel3 --help) may come here, too.";

}  // namespace

CLI::App* AddVerb(CLI::App* app, const std::string& name, const std::string& help, Run* run,
                  const Run& runVerb) {
  CLI::App* const verb = app->add_subcommand(name, help);
  verb->fallthrough();
  verb->footer(kVerbFooter);
  verb->callback([run, runVerb] { *run = runVerb; });
  return verb;
}
