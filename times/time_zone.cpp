#include "times/time_zone.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <stdexcept>

#include "times/utc_offset.h"

namespace {

constexpr int kMostOffered = 3;

// Qt takes a name that it does not find for a rule when it can: Berlin1 would be an hour behind
// UTC.
bool MayBeARule(const QString& name) {
  static const QRegularExpression digit(QLatin1String("[0-9,<]"));
  return name.contains(digit) && !name.startsWith(QLatin1String("Etc/"));
}

// Names that contain `part`, whatever its case, with underscores for its blanks.
QStringList NamesLike(const QString& part) {
  QString wanted = part;
  wanted.replace(QLatin1Char(' '), QLatin1Char('_'));
  QStringList names;
  if (wanted.isEmpty()) return names;
  for (const QByteArray& id : QTimeZone::availableTimeZoneIds()) {
    const QString name = QString::fromLatin1(id);
    if (name.contains(wanted, Qt::CaseInsensitive)) names.append(name);
    if (names.size() == kMostOffered) break;
  }
  return names;
}

QTimeZone TimeZoneOfSystem() {
  const QTimeZone zone = QTimeZone::systemTimeZone();
  if (!zone.isValid()) throw std::invalid_argument("the time zone of this system is not known");
  return zone;
}

[[noreturn]] void Refuse(const std::string& text, const QString& name) {
  const QStringList names = NamesLike(name);
  std::string hint = "names are UTC, local, +02:00, or as Europe/Berlin";
  // Without a time zone database Qt knows only offsets.
  if (NamesLike(QLatin1String("Europe/")).isEmpty())
    hint = "UTC and +02:00 are; this system has no time zone database (tzdata)";
  if (!names.isEmpty())
    hint = std::string("do you mean ") + names.join(QLatin1String(" or ")).toLatin1().constData() +
           "?";
  throw std::invalid_argument("'" + text + "' is not a time zone: " + hint);
}

}  // namespace

QTimeZone TimeZoneNamed(const std::string& text) {
  const QString name = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
  if (name.compare(QLatin1String("UTC"), Qt::CaseInsensitive) == 0) return QTimeZone::utc();
  if (name.compare(QLatin1String("local"), Qt::CaseInsensitive) == 0) return TimeZoneOfSystem();
  if (name.isEmpty()) Refuse(text, name);
  const std::optional<int> offset = OffsetFromText(name);
  const QByteArray id = name.toLatin1();
  const QTimeZone zone = offset ? QTimeZone(*offset) : QTimeZone(id);
  const bool isKnown = offset || !MayBeARule(name) || QTimeZone::isTimeZoneIdAvailable(id);
  if (!zone.isValid() || !isKnown) Refuse(text, name);
  return zone;
}
