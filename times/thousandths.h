#pragma once

#include <QString>

// Of the digits of a fraction of any length the first three, as a number: 250 for 25, 1 for 0019.
inline unsigned Thousandths(const QString& fraction) {
  return fraction.left(3).leftJustified(3, QLatin1Char('0')).toUInt();
}
