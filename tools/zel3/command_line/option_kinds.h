#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

#include "output/output_style.h"
#include "times/time_argument.h"
#include "times/time_text.h"

// The kinds of options that verbs have. Each adds one option to `app` that fills `target`, which
// must live until the command line has been parsed.

// An option whose text is turned into a value by `parse`, which gives nothing for a text that it
// refuses.
template <class Target, class Parse>
CLI::Option* AddParsed(CLI::App* app, const std::string& name, Target* target, Parse parse,
                       const std::string& kindOfValue, const std::string& help) {
  const auto take = [name, target, parse, kindOfValue](const std::string& text) {
    const auto value = parse(text);
    if (!value) throw CLI::ValidationError(name, "'" + text + "' is no " + kindOfValue);
    *target = *value;
  };
  return app->add_option_function<std::string>(name, take, help)->type_name(kindOfValue);
}

template <class Target>
CLI::Option* AddTime(CLI::App* app, const std::string& name, Target* target,
                     const std::string& help) {
  return AddParsed(app, name, target, ArchiveTimeFromText, "time", help)->type_name("TIME");
}

template <class Target>
CLI::Option* AddDuration(CLI::App* app, const std::string& name, Target* target,
                         const std::string& help) {
  return AddParsed(app, name, target, SecondsFromText, "length of time", help)
      ->type_name("DURATION");
}

template <class Integer>
std::optional<Integer> NumberFromText(const std::string& text) {
  Integer number = 0;
  const char* const end = text.data() + text.size();
  const auto [parsedTo, failure] = std::from_chars(text.data(), end, number);
  if (failure != std::errc() || parsedTo != end) return std::nullopt;
  return number;
}

template <class Integer>
CLI::Option* AddNumber(CLI::App* app, const std::string& name, Integer* target,
                       const std::string& help) {
  return AddParsed(app, name, target, NumberFromText<Integer>, "number", help)->type_name("NUMBER");
}

template <class Integer>
CLI::Option* AddNumber(CLI::App* app, const std::string& name, std::optional<Integer>* target,
                       const std::string& help) {
  return AddParsed(app, name, target, NumberFromText<Integer>, "number", help)->type_name("NUMBER");
}

CLI::Option* AddPath(CLI::App* app, const std::string& name, std::string* target,
                     const std::string& help);

// SOURCE, which a verb that works on archives cannot do without.
void AddSource(CLI::App* app, std::string* target);

// --format, which offers these formats: text, json, jsonl, csv.
void AddFormat(CLI::App* app, OutputFormat* target,
               const std::vector<std::string>& formats = {"text", "json"});

// --time-format: int, iso.
void AddTimeFormat(CLI::App* app, std::optional<TimeFormat>* target, const std::string& help);

// --format and --time-format.
void AddStyle(CLI::App* app, OutputStyle* style,
              const std::vector<std::string>& formats = {"text", "json"});
