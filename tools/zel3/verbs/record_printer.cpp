#include "verbs/record_printer.h"

#include <fmt/format.h>

#include <iostream>

#include "archive/event_types.h"
#include "json/json_line.h"
#include "text/shown_text.h"

namespace record_printer {

namespace {

using Kind = FoundRecord::Kind;

constexpr char kNone[] = "-";

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::kHeader:
      return "header";
    case Kind::kIndex:
      return "index";
    case Kind::kData:
      return "data";
    case Kind::kEvent:
      return "event";
    case Kind::kDamage:
      return "damage";
    case Kind::kCutOff:
      break;
  }
  return "cut-off";
}

const char* StreamKindName(Tag streamKind) {
  switch (streamKind) {
    case tag::kVideo:
      return "video";
    case tag::kSound:
      return "sound";
    case tag::kImage:
      return "image";
    case tag::kText:
      return "text";
    case tag::kBinary:
      return "binary";
    default:
      return "unknown";
  }
}

std::string HeaderText(const ArchiveHeader& header) {
  std::string text = header.title;
  const char* separator = ": ";
  for (const StreamDescriptor& stream : header.streams) {
    text += fmt::format("{}{} {} \"{}\" {}{}", separator, stream.id, stream.kind, stream.name,
                        stream.format, stream.active != 0 ? "" : " (inactive)");
    separator = ", ";
  }
  return text;
}

std::string Remark(const FoundRecord& record) {
  switch (record.kind) {
    case Kind::kHeader:
      return HeaderText(*record.header);
    case Kind::kIndex:
      return record.flagged ? "flagged" : "";
    case Kind::kEvent:
      return event_types::Name(record.type) + ": " + record.text;
    case Kind::kData:
      return record.count > 1 ? fmt::format("{} such blocks", record.count) : "";
    default:
      return "";
  }
}

void PrintLine(const std::string& position, const std::string& kind, const std::string& time,
               const std::string& stream, const std::string& bytes, const std::string& level,
               const std::string& remark) {
  std::string line = fmt::format("{:>12}  {:<12}  {:<24}  {:>6}  {:>6}  {:>5}  {}", position, kind,
                                 time, stream, bytes, level, remark);
  line.erase(line.find_last_not_of(' ') + 1);
  std::cout << line << '\n';
}

void AddStreams(const ArchiveHeader& header, Json* json) {
  (*json)["title"] = header.title;
  Json& streams = (*json)["streams"] = Json::array();
  for (const StreamDescriptor& descriptor : header.streams) {
    Json stream;
    stream["streamId"] = descriptor.id;
    stream["active"] = descriptor.active != 0;
    stream["kind"] = descriptor.kind;
    stream["name"] = descriptor.name;
    stream["format"] = descriptor.format;
    streams.push_back(std::move(stream));
  }
}

}  // namespace

void PrintTextHeading(const std::string& fileName) {
  std::cout << Escaped(fileName) << '\n';
  PrintLine("position", "kind", "time", "stream", "bytes", "level", "text");
}

void PrintText(const FoundRecord& record, TimeFormat times) {
  const bool isData = record.kind == Kind::kData;
  const bool hasLevel = isData || record.kind == Kind::kEvent;
  const bool hasBytes = record.kind != Kind::kHeader && record.kind != Kind::kIndex;
  std::string kind = KindName(record.kind);
  if (isData) kind += std::string(" ") + StreamKindName(record.streamKind);
  PrintLine(
      std::to_string(record.position), kind, record.time ? TimeText(*record.time, times) : kNone,
      isData ? std::to_string(record.type) : kNone, hasBytes ? std::to_string(record.bytes) : kNone,
      hasLevel ? std::to_string(record.level) : kNone, Escaped(Remark(record)));
}

Json AsJson(const std::string& fileName, const FoundRecord& record, TimeFormat times) {
  Json json;
  json["file"] = fileName;
  json["position"] = record.position;
  json["kind"] = KindName(record.kind);
  json["time"] = record.time ? TimeJson(*record.time, times) : Json(nullptr);
  switch (record.kind) {
    case Kind::kHeader:
      AddStreams(*record.header, &json);
      break;
    case Kind::kIndex:
      json["flagged"] = record.flagged;
      break;
    case Kind::kData:
      json["streamKind"] = StreamKindName(record.streamKind);
      json["streamId"] = record.type;
      json["bytes"] = record.bytes;
      json["level"] = record.level;
      if (record.count > 1) json["count"] = record.count;
      break;
    case Kind::kEvent:
      json["type"] = event_types::Name(record.type);
      json["bytes"] = record.bytes;
      json["level"] = record.level;
      json["text"] = record.text;
      break;
    case Kind::kDamage:
    case Kind::kCutOff:
      json["bytes"] = record.bytes;
      break;
  }
  return json;
}

}  // namespace record_printer
