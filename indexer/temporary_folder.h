#pragma once

#include <QDir>
#include <QString>

// The system's temporary folder with a trailing "/"; empty when the system names none that exists.
inline QString TemporaryFolder() {
  const QString path = QDir::tempPath();
  return path.isEmpty() ? QString() : path + QLatin1Char('/');
}
