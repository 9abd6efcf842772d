#include "command_line/option_kinds.h"
#include "command_line/source_options.h"
#include "command_line/verb_groups.h"

namespace {

std::optional<std::vector<std::uint8_t>> StreamsFromText(const std::string& text) {
  std::vector<std::uint8_t> streams;
  for (const std::string& part : CLI::detail::split(text, ',')) {
    const auto stream = NumberFromText<std::uint8_t>(part);
    if (!stream) return std::nullopt;
    streams.push_back(*stream);
  }
  return streams;
}

void AddOutput(CLI::App* verb, std::string* output, bool* mayReplace) {
  verb->add_option("-o,--output", *output, "where to write; its name ends in .zel3")
      ->type_name("PATH")
      ->required();
  verb->add_flag("--force", *mayReplace, "also replace a file that exists");
}

void AddCut(CLI::App* app, Options* options, Run* run) {
  CutOptions* const cut = &options->cut;
  CLI::App* const verb = AddVerb(app, "cut", "a range of time as a new archive", run,
                                 [options] { return RunCut(options->host, options->cut); });
  AddSources(verb, &cut->sources, Times::kNeeded);
  AddMerge(verb, &cut->sources);
  AddTimeRange(verb, &cut->range, "begins with the entry at or before this time",
               "ends before the first entry at or after this time");
  AddOutput(verb, &cut->output, &cut->mayReplace);
  AddParsed(verb, "--streams", &cut->streams, StreamsFromText, "list of streams (1,3)",
            "only the data of these streams, and events")
      ->type_name("NUMBER,...");
  verb->add_flag("--no-events", cut->leavesOutEvents, "leave out events");
  AddParsed(verb, "--split", &cut->split, PartSizeFromText, "length of time or size with a unit",
            "write parts: split at each full hour (1h), or of at most this size (500MB)")
      ->type_name("DURATION|SIZE");
  AddStyle(verb, &cut->style);
}

void AddMend(CLI::App* app, Options* options, Run* run) {
  MendOptions* const mend = &options->mend;
  CLI::App* const verb =
      AddVerb(app, "mend", "everything undamaged in a damaged archive, as a new one", run,
              [mend] { return RunMend(*mend); });
  verb->add_option("FILE", mend->file, "an archive file")->type_name("PATH")->required();
  AddOutput(verb, &mend->output, &mend->mayReplace);
  AddStyle(verb, &mend->style);
}

}  // namespace

void AddCuttingVerbs(CLI::App* app, Options* options, Run* run) {
  AddCut(app, options, run);
  AddMend(app, options, run);
}
