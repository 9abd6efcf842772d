#include "times/time_text.h"

#include <QDateTime>
#include <QString>

namespace {

constexpr ArchiveTime kEndOfYear9999 = 253402300800000;

}  // namespace

std::string TimeText(ArchiveTime archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger || archiveTime >= kEndOfYear9999)
    return std::to_string(archiveTime);
  const QDateTime time = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(archiveTime), Qt::UTC);
  return time.toString(QLatin1String("yyyy-MM-dd'T'HH:mm:ss.zzz'Z'")).toUtf8().constData();
}
