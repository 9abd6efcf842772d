#include "times/time_argument.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QString>
#include <limits>
#include <optional>
#include <stdexcept>
#include <vector>

#include "times/length_argument.h"
#include "times/local_time.h"
#include "times/thousandths.h"
#include "times/utc_offset.h"

namespace {

constexpr ArchiveTime kLastTime = std::numeric_limits<ArchiveTime>::max();

constexpr char kKnownForms[] =
    "times are written as 2024-05-01, 2024-05-01T12:00:00+02:00, yesterday, -1h30m, @1714564800 "
    "or as integers";

QRegularExpression Whole(const char* pattern) {
  return QRegularExpression(QString(QLatin1String("\\A(?:%1)\\z")).arg(QLatin1String(pattern)),
                            QRegularExpression::CaseInsensitiveOption);
}

std::string Plain(const QString& text) {
  return text.toLatin1().constData();
}

class TimeReader {
 public:
  TimeReader(const std::string& text, const TimeReference& reference)
      : mText(text), mReference(reference) {}

  ArchiveTime Read() const {
    const QString text = QString::fromLatin1(mText.data(), static_cast<int>(mText.size()));
    for (const auto read : {&TimeReader::Integer, &TimeReader::UnixTime, &TimeReader::FromNow,
                            &TimeReader::DateAndTime}) {
      if (const std::optional<ArchiveTime> time = (this->*read)(text)) return *time;
    }
    Refuse(kKnownForms);
  }

 private:
  [[noreturn]] void Refuse(const std::string& reason) const {
    throw std::invalid_argument("'" + mText + "' is not a time: " + reason);
  }
  [[noreturn]] void RefuseAsTooLate() const { Refuse("it is after the last possible time"); }
  [[noreturn]] void RefuseAsTooEarly() const { Refuse("times begin with 1970 UTC"); }

  // These give nothing for a text of another form.

  std::optional<ArchiveTime> Integer(const QString& text) const {
    static const QRegularExpression digits = Whole("[0-9]+");
    if (!digits.match(text).hasMatch()) return std::nullopt;
    return Number(text);
  }

  std::optional<ArchiveTime> UnixTime(const QString& text) const {
    static const QRegularExpression parts = Whole("@(-?)([0-9]+)(?:[.,]([0-9]+))?");
    const QRegularExpressionMatch match = parts.match(text);
    if (!match.hasMatch()) return std::nullopt;
    if (!match.captured(1).isEmpty()) RefuseAsTooEarly();
    const ArchiveTime seconds = Number(match.captured(2));
    const ArchiveTime thousandths = Thousandths(match.captured(3));
    if (seconds > (kLastTime - thousandths) / 1000) RefuseAsTooLate();
    return seconds * 1000 + thousandths;
  }

  std::optional<ArchiveTime> FromNow(const QString& text) const {
    static const QRegularExpression parts = Whole("(now)?(?<sign>[+-])(?<length>[0-9].*)|now");
    const QRegularExpressionMatch match = parts.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const ArchiveTime now = FromInstant(mReference.now);
    const QString sign = match.captured(QLatin1String("sign"));
    const QString lengthText = match.captured(QLatin1String("length"));
    if (lengthText.isEmpty()) return now;
    const std::optional<ArchiveTime> length = LengthFromText(Plain(lengthText));
    if (!length) return std::nullopt;
    // It could also be meant as an archive time.
    if (lengthText.back().isDigit())
      Refuse("a length of time before or after now has a unit: " + Plain(sign + lengthText) + "s");
    if (sign == QLatin1String("-")) {
      if (*length > now) RefuseAsTooEarly();
      return now - *length;
    }
    if (*length > kLastTime - now) RefuseAsTooLate();
    return now + *length;
  }

  std::optional<ArchiveTime> DateAndTime(const QString& text) const {
    static const QRegularExpression parts = Whole(
        "(?:(?<word>today|yesterday)"
        "|(?<year>[0-9]{4})(?:-(?<month>[0-9]{2})-(?<day>[0-9]{2})"
        "|(?<plainMonth>[0-9]{2})(?<plainDay>[0-9]{2})(?=[T ])))"
        "(?:[T ](?<hour>[0-9]{2})(?:(?<colon>:?)(?<minute>[0-9]{2})(?:\\k<colon>(?<second>[0-9]{2})"
        "(?:[.,](?<fraction>[0-9]+))?)?)?"
        "(?: ?(?<zone>Z|UTC|[+-][0-9:]+))?)?");
    const QRegularExpressionMatch match = parts.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const QDate day = DayOf(match);
    if (match.captured(QLatin1String("hour")).isEmpty()) {
      const std::optional<std::int64_t> start = StartOfDay(day, mReference.zone);
      if (!start) Refuse("clocks in " + Zone() + " skip this day");
      return FromInstant(*start);
    }
    const std::int64_t shown = QDateTime(day, TimeOfDay(match), Qt::UTC).toMSecsSinceEpoch();
    const QString zone = match.captured(QLatin1String("zone")).toUpper();
    if (zone.isEmpty()) return FromShown(shown);
    if (zone == QLatin1String("Z") || zone == QLatin1String("UTC")) return FromInstant(shown);
    const std::optional<int> offset = OffsetFromText(zone);
    if (!offset) Refuse(Plain(zone) + " is not an offset");
    return FromInstant(shown - std::int64_t{*offset} * 1000);
  }

  // Parts of these.

  ArchiveTime Number(const QString& digits) const {
    bool fits = false;
    const qulonglong number = digits.toULongLong(&fits);
    if (!fits) RefuseAsTooLate();
    return number;
  }

  QDate DayOf(const QRegularExpressionMatch& match) const {
    const QString word = match.captured(QLatin1String("word")).toLower();
    const QDate today = DayAt(mReference.now, mReference.zone);
    if (word == QLatin1String("today")) return today;
    if (word == QLatin1String("yesterday")) return today.addDays(-1);
    const QString year = match.captured(QLatin1String("year"));
    const QString month =
        match.captured(QLatin1String("month")) + match.captured(QLatin1String("plainMonth"));
    const QString day =
        match.captured(QLatin1String("day")) + match.captured(QLatin1String("plainDay"));
    const QDate date(year.toInt(), month.toInt(), day.toInt());
    if (!date.isValid())
      Refuse("there is no day " + Plain(year) + "-" + Plain(month) + "-" + Plain(day));
    return date;
  }

  QTime TimeOfDay(const QRegularExpressionMatch& match) const {
    const auto number = [&match](const char* part) {
      return match.captured(QLatin1String(part)).toInt();
    };
    if (number("second") == 60)
      Refuse("leap seconds do not count: the second after 59 is 00 of the next minute");
    const QTime time(number("hour"), number("minute"), number("second"),
                     static_cast<int>(Thousandths(match.captured(QLatin1String("fraction")))));
    if (!time.isValid()) Refuse("there is no such time of day; the last is 23:59:59");
    return time;
  }

  std::string Zone() const { return mReference.zone.id().constData(); }

  // What clocks of the zone in force show.
  ArchiveTime FromShown(std::int64_t shown) const {
    const std::vector<std::int64_t> instants = InstantsOf(shown, mReference.zone);
    if (instants.empty()) Refuse("clocks in " + Zone() + " are set forward over it");
    if (instants.size() == 1) return FromInstant(instants.front());
    std::string choice;
    for (const std::int64_t instant : instants) {
      if (!choice.empty()) choice += " or ";
      choice += OffsetText(static_cast<int>((shown - instant) / 1000));
    }
    Refuse("clocks in " + Zone() + " show it twice: add " + choice);
  }

  ArchiveTime FromInstant(std::int64_t instant) const {
    if (instant < 0) RefuseAsTooEarly();
    return static_cast<ArchiveTime>(instant);
  }

  const std::string& mText;
  const TimeReference& mReference;
};

}  // namespace

ArchiveTime TimeFromText(const std::string& text, const TimeReference& reference) {
  return TimeReader(text, reference).Read();
}
