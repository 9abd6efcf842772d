#include "times/utc_offset.h"

#include <fmt/format.h>

#include <QRegularExpression>
#include <cstdlib>

std::optional<int> OffsetFromText(const QString& text) {
  static const QRegularExpression parts(
      QLatin1String("\\A(?<sign>[+-])(?<h>[01][0-9]|2[0-3])"
                    "(?:(?<colon>:?)(?<m>[0-5][0-9])(?:\\k<colon>(?<s>[0-5][0-9]))?)?\\z"));
  const QRegularExpressionMatch match = parts.match(text);
  if (!match.hasMatch()) return std::nullopt;
  const auto number = [&match](const char* part) {
    return match.captured(QLatin1String(part)).toInt();
  };
  const int seconds = (number("h") * 60 + number("m")) * 60 + number("s");
  return match.captured(QLatin1String("sign")) == QLatin1String("-") ? -seconds : seconds;
}

std::string OffsetText(int seconds) {
  const int length = std::abs(seconds);
  const std::string text =
      fmt::format("{}{:02}:{:02}", seconds < 0 ? '-' : '+', length / 3600, length / 60 % 60);
  return length % 60 == 0 ? text : text + fmt::format(":{:02}", length % 60);
}
