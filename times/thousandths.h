#pragma once

#include <QString>

// The first three digits of a fraction of any length, as a number: 250 for 25, 1 for 0019.
inline unsigned Thousandths(const QString& fraction) {
  return fraction.left(3).leftJustified(3, QLatin1Char('0')).toUInt();
}
