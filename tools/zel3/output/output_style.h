#pragma once

#include <optional>

#include "times/time_text.h"

// How verbs show their results on the standard output.

enum class OutputFormat { kText, kJson, kJsonLines, kCsv };

struct OutputStyle {
  OutputFormat format = OutputFormat::kText;
  std::optional<TimeFormat> askedTimeFormat;

  // Unless asked for otherwise, people get ISO times and programs get integers.
  TimeFormat Times() const {
    if (askedTimeFormat) return *askedTimeFormat;
    return format == OutputFormat::kText ? TimeFormat::kIso : TimeFormat::kInteger;
  }
};
