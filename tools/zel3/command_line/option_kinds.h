#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/output_style.h"
#include "times/length_argument.h"
#include "times/time_argument.h"
#include "times/time_reference.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

// The kinds of options that verbs have. Each adds one option to `app` that fills `target`, which
// must live until the command line has been parsed.

// An option whose text `parse` turns into a value; it returns nothing for a text that it refuses.
// `kindOfValue` comes after an "a".
template <class Target, class Parse>
CLI::Option* AddParsed(CLI::App* app, const std::string& name, Target* target, Parse parse,
                       const std::string& kindOfValue, const std::string& help) {
  const auto take = [name, target, parse, kindOfValue](const std::string& text) {
    const auto value = parse(text);
    if (!value) throw CLI::ValidationError(name, "'" + text + "' is not a " + kindOfValue);
    *target = *value;
  };
  return app->add_option_function<std::string>(name, take, help)->type_name(kindOfValue);
}

// An option whose text is passed to `take`, which throws std::invalid_argument with a message for
// people to refuse it.
template <class Take>
CLI::Option* AddTaken(CLI::App* app, const std::string& name, Take take, const std::string& help) {
  const auto takeOrRefuse = [name, take](const std::string& text) {
    try {
      take(text);
    } catch (const std::invalid_argument& refusal) {
      throw CLI::ValidationError(name, refusal.what());
    }
  };
  return app->add_option_function<std::string>(name, takeOrRefuse, help);
}

// A time, read in the time zone in force.
template <class Target>
CLI::Option* AddTime(CLI::App* app, const std::string& name, Target* target,
                     const std::string& help) {
  const auto take = [target](const std::string& text) {
    *target = TimeFromText(text, TimeReferenceInForce());
  };
  return AddTaken(app, name, take, help)->type_name("TIME");
}

constexpr char kLengthOfTime[] = "length of time: 90, 15m, 1h30m or 1d12h";

// A length of time in whole seconds.
template <class Target>
CLI::Option* AddDuration(CLI::App* app, const std::string& name, Target* target,
                         const std::string& help) {
  return AddParsed(app, name, target, SecondsFromText, kLengthOfTime, help)->type_name("DURATION");
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

// FROM, TO, --since, --until and --for, for a verb that works on a range of time. What they mean
// together, and whether the verb can do without them, RangeOf or BoundedRangeOf in
// verbs/time_range.h decides. REQUIRES: the arguments before FROM have been added.
void AddTimeRange(CLI::App* app, RangeOptions* target, const std::string& fromHelp,
                  const std::string& toHelp);

// --format with these formats, of text, json, jsonl and csv.
void AddFormat(CLI::App* app, OutputFormat* target,
               const std::vector<std::string>& formats = {"text", "json"});

// --time-format: int, iso.
void AddTimeFormat(CLI::App* app, std::optional<TimeFormat>* target, const std::string& help);

// --format and --time-format.
void AddStyle(CLI::App* app, OutputStyle* style,
              const std::vector<std::string>& formats = {"text", "json"});
