#include "times/length_argument.h"

#include <QRegularExpression>
#include <QString>
#include <limits>

#include "times/thousandths.h"

namespace {

constexpr ArchiveTime kSecond = 1000;
constexpr ArchiveTime kMinute = 60 * kSecond;
constexpr ArchiveTime kHour = 60 * kMinute;
constexpr ArchiveTime kDay = 24 * kHour;

constexpr ArchiveTime kLongest = std::numeric_limits<ArchiveTime>::max();

// `length` and `count` units more; at most kLongest.
ArchiveTime Longer(ArchiveTime length, const QString& count, ArchiveTime unit) {
  bool fits = true;
  const std::uint64_t number = count.isEmpty() ? 0 : count.toULongLong(&fits);
  return !fits || number > (kLongest - length) / unit ? kLongest : length + number * unit;
}

}  // namespace

std::optional<ArchiveTime> LengthFromText(const std::string& text) {
  // A number without a unit stands alone: the 30 in 1h30 could mean minutes as well.
  static const QRegularExpression parts(
      QLatin1String("\\A(?:(?<d>[0-9]+)d)?(?:(?<h>[0-9]+)h)?(?:(?<m>[0-9]+)m)?"
                    "(?:(?<s>[0-9]+)(?:[.,](?<fraction>[0-9]+))?s)?\\z"),
      QRegularExpression::CaseInsensitiveOption);
  static const QRegularExpression bareNumber(QLatin1String("\\A[0-9]+(?:[.,][0-9]+)?\\z"));
  QString shown = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
  if (bareNumber.match(shown).hasMatch()) shown += QLatin1Char('s');
  const QRegularExpressionMatch match = parts.match(shown);
  if (shown.isEmpty() || !match.hasMatch()) return std::nullopt;
  ArchiveTime length = Thousandths(match.captured(QLatin1String("fraction")));
  const struct {
    const char* part;
    ArchiveTime length;
  } units[] = {{"d", kDay}, {"h", kHour}, {"m", kMinute}, {"s", kSecond}};
  for (const auto& unit : units)
    length = Longer(length, match.captured(QLatin1String(unit.part)), unit.length);
  return length;
}

std::optional<std::uint32_t> SecondsFromText(const std::string& text) {
  const std::optional<ArchiveTime> length = LengthFromText(text);
  if (!length || *length % kSecond != 0) return std::nullopt;
  if (*length / kSecond > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*length / kSecond);
}
