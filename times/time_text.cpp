#include "times/time_text.h"

#include <QDateTime>
#include <QString>

#include "times/local_time.h"
#include "times/time_reference.h"
#include "times/utc_offset.h"

namespace {

constexpr std::int64_t kEndOfYear9999 = 253402300800000;

}  // namespace

std::string TimeText(ArchiveTime archiveTime, TimeFormat format, const QTimeZone& zone) {
  if (format == TimeFormat::kInteger || archiveTime >= static_cast<ArchiveTime>(kEndOfYear9999))
    return std::to_string(archiveTime);
  const auto instant = static_cast<std::int64_t>(archiveTime);
  const bool isUtc = zone == QTimeZone::utc();
  const std::int64_t offset = isUtc ? 0 : OffsetAt(instant, zone);
  if (instant + offset >= kEndOfYear9999) return std::to_string(archiveTime);
  const QDateTime shown = QDateTime::fromMSecsSinceEpoch(instant + offset, Qt::UTC);
  const std::string text =
      shown.toString(QLatin1String("yyyy-MM-dd'T'HH:mm:ss.zzz")).toLatin1().constData();
  return text + (isUtc ? "Z" : OffsetText(static_cast<int>(offset / 1000)));
}

std::string TimeText(ArchiveTime archiveTime, TimeFormat format) {
  return TimeText(archiveTime, format, TimeReferenceInForce().zone);
}
