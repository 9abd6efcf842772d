#include <cstdint>
#include <exception>
#include <limits>
#include <stdexcept>

#include "samples/ground_truth.h"
#include "text/json_text.h"

namespace {

Json ToJson(const GroundTruthEntry& entry) {
  Json activity = Json::array();
  for (std::size_t i = 0; i < entry.activityCount; ++i) {
    activity.push_back({entry.activity[i].streamId, entry.activity[i].level});
  }
  return {{"indexTime", entry.indexTime},
          {"position", entry.position},
          {"flagged", entry.flagged},
          {"activity", activity}};
}

Json ToJson(const GroundTruthEvent& event) {
  return {{"indexTime", event.indexTime}, {"type", event.type}, {"text", event.text}};
}

Json ToJson(const GroundTruthGap& gap) {
  return {{"fromIndexTime", gap.fromIndexTime}, {"toIndexTime", gap.toIndexTime}};
}

// The items of a list in square brackets, each written by `write` on lines of its own.
template <class Item, class Write>
std::string Lines(const std::vector<Item>& items, const std::string& indent, Write write) {
  std::string text = "[";
  const char* separator = "\n";
  for (const Item& item : items) {
    text += separator + indent + "  " + write(item);
    separator = ",\n";
  }
  return text + (items.empty() ? "]" : "\n" + indent + "]");
}

std::string FileText(const GroundTruthFile& file) {
  const std::string indent = "      ";
  const auto line = [](const auto& item) { return PlainJsonText(ToJson(item)); };
  return "{\n" + indent + "\"file\": " + PlainJsonText(file.name) + ",\n" +  //
         indent + "\"bytes\": " + std::to_string(file.size) + ",\n" +        //
         indent + "\"endIndexTime\": " + std::to_string(file.endIndexTime) + ",\n" + indent +
         "\"headerPositions\": " + PlainJsonText(file.headerPositions) + ",\n" + indent +
         "\"streamIds\": " + PlainJsonText(file.streamIds) + ",\n" + indent +
         "\"entries\": " + Lines(file.entries, indent, line) + ",\n" + indent +
         "\"events\": " + Lines(file.events, indent, line) + "\n    }";
}

template <class Number>
Number NumberFrom(const Json& json) {
  const auto value = json.is_number_unsigned() ? json.get<std::uint64_t>() : std::uint64_t{0};
  if (!json.is_number_unsigned() || value > std::numeric_limits<Number>::max()) {
    throw std::runtime_error("a number is negative, too large or none: " + PlainJsonText(json));
  }
  return static_cast<Number>(value);
}

const Json& ListIn(const Json& json, const char* key) {
  const Json& list = json.at(key);
  if (!list.is_array()) throw std::runtime_error(std::string(key) + " is not a list");
  return list;
}

template <class Number>
std::vector<Number> NumbersIn(const Json& json, const char* key) {
  std::vector<Number> numbers;
  for (const Json& number : ListIn(json, key)) numbers.push_back(NumberFrom<Number>(number));
  return numbers;
}

GroundTruthEntry EntryFrom(const Json& json) {
  GroundTruthEntry entry;
  entry.indexTime = NumberFrom<IndexTime>(json.at("indexTime"));
  entry.position = NumberFrom<FilePosition>(json.at("position"));
  entry.flagged = json.at("flagged").get<bool>();
  for (const Json& pair : ListIn(json, "activity")) {
    if (entry.activityCount == GroundTruthEntry::kMostActivityPairs) {
      throw std::runtime_error("an entry has too many activity pairs");
    }
    entry.activity[entry.activityCount++] = {NumberFrom<std::uint8_t>(pair.at(0)),
                                             NumberFrom<std::uint8_t>(pair.at(1))};
  }
  return entry;
}

GroundTruthEvent EventFrom(const Json& json) {
  return {NumberFrom<IndexTime>(json.at("indexTime")), NumberFrom<std::uint8_t>(json.at("type")),
          json.at("text").get<std::string>()};
}

GroundTruthFile FileFrom(const Json& json) {
  GroundTruthFile file;
  file.name = json.at("file").get<std::string>();
  file.size = NumberFrom<std::uint64_t>(json.at("bytes"));
  file.endIndexTime = NumberFrom<IndexTime>(json.at("endIndexTime"));
  file.headerPositions = NumbersIn<FilePosition>(json, "headerPositions");
  file.streamIds = NumbersIn<std::uint8_t>(json, "streamIds");
  for (const Json& entry : ListIn(json, "entries")) file.entries.push_back(EntryFrom(entry));
  for (const Json& event : ListIn(json, "events")) file.events.push_back(EventFrom(event));
  return file;
}

}  // namespace

std::string GroundTruthToJson(const GroundTruth& truth) {
  const auto gapLine = [](const GroundTruthGap& gap) { return PlainJsonText(ToJson(gap)); };
  return "{\n  \"files\": " + Lines(truth.files, "  ", FileText) +
         ",\n  \"gaps\": " + Lines(truth.gaps, "  ", gapLine) + "\n}\n";
}

GroundTruth GroundTruthFromJson(const std::string& json) try {
  const Json root = Json::parse(json);
  GroundTruth truth;
  for (const Json& file : ListIn(root, "files")) truth.files.push_back(FileFrom(file));
  for (const Json& gap : ListIn(root, "gaps")) {
    truth.gaps.push_back({NumberFrom<IndexTime>(gap.at("fromIndexTime")),
                          NumberFrom<IndexTime>(gap.at("toIndexTime"))});
  }
  return truth;
} catch (const std::exception& error) {
  throw std::runtime_error(std::string("not a ground truth: ") + error.what());
}
