#include "json/json_line.h"

#include <iostream>

#include "text/json_text.h"

void PrintJsonLine(const nlohmann::ordered_json& value) {
  std::cout << JsonText(value) << '\n';
}

void PrintPlainJsonLine(const nlohmann::ordered_json& value) {
  std::cout << PlainJsonText(value) << '\n';
}

nlohmann::ordered_json TimeJson(ArchiveTime archiveTime, TimeFormat format) {
  if (format == TimeFormat::kInteger) return archiveTime;
  return TimeText(archiveTime, format);
}
