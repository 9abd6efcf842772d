#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "units.h"

// How verbs show their results on the standard output.

enum class OutputFormat { kText, kJson, kJsonLines, kCsv };
enum class TimeFormat { kInteger, kIso };

struct OutputStyle {
  OutputFormat format = OutputFormat::kText;
  std::optional<TimeFormat> askedTimeFormat;

  // Unless asked for otherwise, people get ISO times and programs get integers.
  TimeFormat Times() const {
    if (askedTimeFormat) return *askedTimeFormat;
    return format == OutputFormat::kText ? TimeFormat::kIso : TimeFormat::kInteger;
  }
};

// An archive time as an integer, or as milliseconds since 1970 UTC: 2024-05-01T06:00:00.000Z. Times
// after the year 9999 are always shown as integers.
std::string TimeText(ArchiveTime archiveTime, TimeFormat format);
// The same as a JSON number or text.
nlohmann::ordered_json TimeJson(ArchiveTime archiveTime, TimeFormat format);

// 1 file, 2 files
std::string Counted(std::uint64_t count, const char* what);

// A text that comes from outside, fit for a terminal: control characters are shown as \u001b, bytes
// that are not UTF-8 as U+FFFD.
std::string Escaped(const std::string& text);

enum class Colour { kRed, kYellow };

// Print rows of cells in aligned columns: below headings, which are the first row, or behind
// labels, which are the first column. Cells that come from outside must be escaped. On a terminal
// headings and labels are bold, and cells with one of these texts are coloured, unless the
// environment has NO_COLOR or the terminal is a dumb one.
void PrintTable(const std::vector<std::vector<std::string>>& rows,
                const std::map<std::string, Colour>& colours = {});
void PrintLabelled(const std::vector<std::vector<std::string>>& rows);

// Prints rows of cells as comma-separated values; cells with commas or quotes are quoted. A cell
// that a spreadsheet would take for a formula begins with an apostrophe. Cells that come from
// outside must be escaped.
void PrintCsv(const std::vector<std::vector<std::string>>& rows);

// One JSON value on one line. Bytes of a text that are not UTF-8 become U+FFFD. What a terminal
// would obey, and what turns the direction of writing, is written as \u202e; that is the same text
// to whoever parses it.
std::string JsonText(const nlohmann::ordered_json& value);
void PrintJsonLine(const nlohmann::ordered_json& value);

// The same without these escapes, for what is to be shown as it is.
std::string PlainJsonText(const nlohmann::ordered_json& value);
void PrintPlainJsonLine(const nlohmann::ordered_json& value);
