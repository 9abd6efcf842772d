#include "command_line/option_kinds.h"

#include <algorithm>
#include <map>

#include "sources/archive_source.h"

CLI::Option* AddPath(CLI::App* app, const std::string& name, std::string* target,
                     const std::string& help) {
  const auto parse = [](const std::string& text) {
    return text.size() > archive_source::kLongestPath ? std::nullopt : std::make_optional(text);
  };
  return AddParsed(app, name, target, parse, "path of at most 260 bytes", help)->type_name("PATH");
}

void AddTimeRange(CLI::App* app, RangeOptions* target, const std::string& fromHelp,
                  const std::string& toHelp) {
  AddTime(app, "FROM", &target->from, fromHelp);
  AddTime(app, "TO", &target->to, toHelp);
  AddTime(app, "--since", &target->since, "instead of FROM");
  AddTime(app, "--until", &target->until, "instead of TO");
  AddParsed(app, "--for", &target->length, LengthFromText, kLengthOfTime,
            "how long the range is, instead of one end: 90, 10m, 1h30m, 1d12h")
      ->type_name("DURATION");
}

void AddFormat(CLI::App* app, OutputFormat* target, const std::vector<std::string>& formats) {
  const auto format = [formats](const std::string& text) -> std::optional<OutputFormat> {
    if (std::find(formats.begin(), formats.end(), text) == formats.end()) return std::nullopt;
    static const std::map<std::string, OutputFormat> named{{"text", OutputFormat::kText},
                                                           {"json", OutputFormat::kJson},
                                                           {"jsonl", OutputFormat::kJsonLines},
                                                           {"csv", OutputFormat::kCsv}};
    return named.at(text);
  };
  const std::string names = CLI::detail::join(formats, ", ");
  AddParsed(app, "--format", target, format, "format (" + names + ")",
            "default: text, which is for people")
      ->type_name(CLI::detail::join(formats, "|"));
}

void AddTimeFormat(CLI::App* app, std::optional<TimeFormat>* target, const std::string& help) {
  const auto times = [](const std::string& text) -> std::optional<TimeFormat> {
    if (text == "int") return TimeFormat::kInteger;
    if (text == "iso") return TimeFormat::kIso;
    return std::nullopt;
  };
  AddParsed(app, "--time-format", target, times, "time format (int, iso)", help)
      ->type_name("int|iso");
}

void AddStyle(CLI::App* app, OutputStyle* style, const std::vector<std::string>& formats) {
  AddFormat(app, &style->format, formats);
  AddTimeFormat(app, &style->askedTimeFormat, "default: iso in text, int elsewhere");
}
