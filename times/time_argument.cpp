#include "times/time_argument.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QString>
#include <limits>

namespace {

std::optional<ArchiveTime> ArchiveTimeFromInteger(const QString& text) {
  static const QRegularExpression digits(QLatin1String("\\A[0-9]+\\z"));
  if (!digits.match(text).hasMatch()) return std::nullopt;
  bool fits = false;
  const qulonglong time = text.toULongLong(&fits);
  if (!fits) return std::nullopt;
  return time;
}

std::optional<ArchiveTime> ArchiveTimeFromDate(const QString& text) {
  static const QRegularExpression parts(QLatin1String(
      "\\A([0-9]{4}-[0-9]{2}-[0-9]{2})(?:T([0-9]{2}:[0-9]{2}:[0-9]{2})(\\.[0-9]{3})?Z)?\\z"));
  const QRegularExpressionMatch match = parts.match(text);
  if (!match.hasMatch()) return std::nullopt;
  const QDate date = QDate::fromString(match.captured(1), QLatin1String("yyyy-MM-dd"));
  QTime time(0, 0);
  if (match.lastCapturedIndex() >= 2) {
    time = QTime::fromString(match.captured(2), QLatin1String("HH:mm:ss"));
  }
  if (!date.isValid() || !time.isValid()) return std::nullopt;
  const qint64 milliseconds =
      QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch() + match.captured(3).mid(1).toInt();
  if (milliseconds < 0) return std::nullopt;
  return static_cast<std::uint64_t>(milliseconds);
}

}  // namespace

std::optional<ArchiveTime> ArchiveTimeFromText(const std::string& text) {
  const QString shown = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
  if (const auto time = ArchiveTimeFromInteger(shown)) return time;
  return ArchiveTimeFromDate(shown);
}

std::optional<std::uint32_t> SecondsFromText(const std::string& text) {
  static const QRegularExpression parts(QLatin1String("\\A([0-9]+)([smhd]?)\\z"));
  const QRegularExpressionMatch match =
      parts.match(QString::fromLatin1(text.data(), static_cast<int>(text.size())));
  if (!match.hasMatch()) return std::nullopt;
  const QString unit = match.captured(2);
  std::uint64_t secondsPerUnit = 1;
  if (unit == QLatin1String("m")) secondsPerUnit = 60;
  if (unit == QLatin1String("h")) secondsPerUnit = 60 * 60;
  if (unit == QLatin1String("d")) secondsPerUnit = 24 * 60 * 60;
  bool fits = false;
  const std::uint64_t count = match.captured(1).toUInt(&fits);
  const std::uint64_t seconds = count * secondsPerUnit;
  if (!fits || seconds > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(seconds);
}
