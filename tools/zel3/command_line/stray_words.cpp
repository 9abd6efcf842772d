#include "command_line/stray_words.h"

#include <algorithm>
#include <vector>

#include "command_line/command_description.h"
#include "sources/archive_source.h"
#include "system/file_status.h"
#include "text/near_names.h"

namespace {

using Words = std::vector<std::string>;

bool IsOption(const std::string& word) {
  return word.size() > 1 && word.front() == '-' && word != "--";
}

std::string AboutUnknownVerb(const std::string& word, const CommandDescription& command) {
  // People name what they want to see, and forget to say how.
  if (StatusOf(word)) {
    return "'" + word + "' is " + (archive_source::IsFolder(word) ? "a folder" : "a file") +
           ", and a verb is missing: zel3 info " + word;
  }
  Words verbs;
  for (const VerbDescription& verb : command.verbs) verbs.push_back(verb.name);
  const std::string question = DidYouMean(NearNames(word, verbs));
  return "there is no verb '" + word + "'" +
         (question.empty() ? "; zel3 --help lists them" : question);
}

std::string AboutUnknownOption(const std::string& word, const std::string& verb,
                               const CommandDescription& command) {
  const std::string option = word.substr(0, word.find('='));
  Words options;
  const auto addOptions = [&options](const std::vector<ArgumentDescription>& descriptions) {
    for (const ArgumentDescription& each : descriptions)
      options.insert(options.end(), each.names.begin(), each.names.end());
  };
  for (const VerbDescription& each : command.verbs) {
    if (each.name == verb) addOptions(each.options);
  }
  addOptions(command.options);
  const std::string question = DidYouMean(NearNames(option, options));
  const std::string ofVerb = verb.empty() ? "" : " of " + verb;
  const std::string help = verb.empty() ? "zel3 --help" : "zel3 " + verb + " --help";
  return "there is no option " + option + ofVerb +
         (question.empty() ? "; " + help + " lists them" : question);
}

}  // namespace

std::optional<std::string> AboutStrayWords(const CLI::App& app) {
  const CommandDescription command = DescribeApp(app);
  const std::vector<CLI::App*> verbs = app.get_subcommands();
  const std::string verb = verbs.empty() ? "" : verbs.front()->get_name();
  const Words stray = app.remaining(true);
  const auto option = std::find_if(stray.begin(), stray.end(), IsOption);
  const auto word = std::find_if(stray.begin(), stray.end(),
                                 [](const std::string& each) { return !IsOption(each); });
  if (verb.empty() && word != stray.end()) return AboutUnknownVerb(*word, command);
  if (option != stray.end()) return AboutUnknownOption(*option, verb, command);
  return std::nullopt;
}
