#include "command_line/source_options.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "system/file_status.h"
#include "times/time_argument.h"
#include "times/time_reference.h"

namespace {

using Words = std::vector<std::string>;

// The positional arguments of a verb after its sources.
std::vector<CLI::Option*> TimesOf(CLI::App* app) {
  std::vector<CLI::Option*> times =
      app->get_options([](const CLI::Option* option) { return option->get_positional(); });
  times.erase(times.begin());
  return times;
}

bool IsGiven(const CLI::App& app, const std::string& option) {
  const CLI::Option* const found = app.get_option_no_throw(option);
  return found != nullptr && found->count() > 0;
}

// Why the word is not a time; nothing when it is one.
std::optional<std::string> WhyNoTime(const std::string& word) {
  try {
    TimeFromText(word, TimeReferenceInForce());
    return std::nullopt;
  } catch (const std::invalid_argument& refusal) {
    return refusal.what();
  }
}

// Whether the word is a time, where it could also be a source. `mayStand`: a time may come here.
bool IsTime(const std::string& word, bool mayStand) {
  const std::optional<std::string> whyNoTime = WhyNoTime(word);
  const bool isTime = !whyNoTime;
  const bool isSource = StatusOf(word, Links::kNot).has_value();
  if (!mayStand || isTime != isSource) return isTime && !isSource;
  if (isTime) {
    throw CLI::ValidationError("'" + word +
                               "' is a time, and there is a file or folder of that name: write ./" +
                               word + " for that, or --since for the time");
  }
  throw CLI::ValidationError("no file or folder has that name, and " + *whyNoTime);
}

// How many of the words are times; the first one is a source.
std::size_t CountTimes(const CLI::App& app, const Words& words,
                       const std::vector<CLI::Option*>& times, Times need) {
  const std::size_t most = std::min(times.size(), words.size() - 1);
  const bool isFollowed = IsGiven(app, "--follow");
  const bool sinceIsGiven = IsGiven(app, "--since");
  const bool endIsGiven = IsGiven(app, "--until") || IsGiven(app, "--for");
  const bool areRequired = std::all_of(
      times.begin(), times.end(), [](const CLI::Option* time) { return time->get_required(); });
  const bool isNeeded = need == Times::kNeeded && !sinceIsGiven && !endIsGiven && !isFollowed;
  if (areRequired || isNeeded) return most;
  std::size_t count = 0;
  while (count < most && IsTime(words[words.size() - 1 - count], !sinceIsGiven)) ++count;
  return count;
}

}  // namespace

void AddSources(CLI::App* app, SourceArguments* target, Times need) {
  const auto take = [app, target, need](const Words& words) {
    const std::vector<CLI::Option*> times = TimesOf(app);
    const std::size_t count = CountTimes(*app, words, times, need);
    target->paths.assign(words.begin(), words.end() - static_cast<std::ptrdiff_t>(count));
    for (std::size_t i = 0; i < count; ++i) times[i]->add_result(words[words.size() - count + i]);
  };
  app->add_option_function<Words>("SOURCE", take, "archive files, or folders of them")
      ->type_name("PATH")
      ->required();
  app->add_flag("--recursive", target->recursive,
                "include the folders below; each that holds archives is its own timeline");
}

void AddMerge(CLI::App* app, SourceArguments* target) {
  app->add_flag("--merge", target->merge, "make one timeline of all");
}
