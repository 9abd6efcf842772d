#pragma once

#include <QString>

// The suffix of a file's name tells its format. Upper and lower case count as the same.

// What follows the last "." of `name`; empty without one.
inline QString SuffixOf(const QString& name) {
  const int dot = name.lastIndexOf(QLatin1Char('.'));
  return dot < 0 ? QString() : name.mid(dot + 1);
}

inline bool IsSameSuffix(const QString& suffix, const QString& other) {
  return suffix.compare(other, Qt::CaseInsensitive) == 0;
}
