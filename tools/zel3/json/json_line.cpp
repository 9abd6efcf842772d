#include "json/json_line.h"

#include <iostream>

void PrintJsonLine(const Json& value) {
  std::cout << JsonText(value) << '\n';
}

void PrintPlainJsonLine(const Json& value) {
  std::cout << PlainJsonText(value) << '\n';
}

Json TimeJson(ArchiveTime archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger) return archiveTime;
  return TimeText(archiveTime, format);
}
