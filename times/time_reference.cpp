#include "times/time_reference.h"

#include <QDateTime>

namespace {

TimeReference& InForce() {
  static TimeReference reference{QTimeZone::utc(), QDateTime::currentMSecsSinceEpoch()};
  return reference;
}

}  // namespace

const TimeReference& TimeReferenceInForce() {
  return InForce();
}

void UseTimeZone(const QTimeZone& zone) {
  InForce().zone = zone;
}
