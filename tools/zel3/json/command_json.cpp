#include "json/command_json.h"

#include <cstdint>
#include <limits>

#include "blocks/commands.h"
#include "text/json_text.h"

namespace {

// The numbers of one command. Asking for a number marks its key as known.
class Fields {
 public:
  explicit Fields(const Json& command) : mCommand(command) {}

  // The number under `key`, 0 when the key is absent.
  template <class Integer>
  Integer Number(const char* key, Integer greatest = std::numeric_limits<Integer>::max()) {
    const auto field = mCommand.find(key);
    if (field == mCommand.end()) return 0;
    ++mKnown;
    if (!field->is_number_integer())
      throw CommandError(std::string(key) + " is not a whole number");
    if (!IsBetween(*field, std::numeric_limits<Integer>::min(), greatest)) {
      throw CommandError(std::string(key) + " is out of range");
    }
    return field->get<Integer>();
  }

  void RefuseOthers() const {
    const std::size_t withName = mKnown + 1;
    if (mCommand.size() != withName) throw CommandError("the command has an unknown key");
  }

 private:
  template <class Integer>
  static bool IsBetween(const Json& number, Integer least, Integer greatest) {
    if (number.is_number_unsigned()) {
      return number.get<std::uint64_t>() <= static_cast<std::uint64_t>(greatest);
    }
    // Not stored as unsigned: below zero, or a negative zero.
    return number.get<std::int64_t>() >= static_cast<std::int64_t>(least);
  }

  const Json& mCommand;
  std::size_t mKnown = 0;
};

cMemBlock ChunkRequest(Fields& fields) {
  ChunkRequestBlock block = ChunkRequestBlock::New();
  block.Record().time = fields.Number<ArchiveTime>("time");
  block.Record().type = fields.Number<std::uint32_t>("type");
  return block;
}

cMemBlock ParserChunkRequest(Fields& fields) {
  ParserChunkRequestBlock block = ParserChunkRequestBlock::New();
  block.Record().indexId = fields.Number<IndexId>("indexId");
  block.Record().time = fields.Number<ArchiveTime>("time");
  block.Record().preview = fields.Number<std::uint8_t>("preview", 1);
  return block;
}

cMemBlock Play(Fields& fields) {
  PlayBlock block = PlayBlock::New();
  block.Record().indexId = fields.Number<IndexId>("indexId");
  block.Record().time = fields.Number<ArchiveTime>("time");
  block.Record().mode = fields.Number<std::uint32_t>("mode");
  block.Record().forward = fields.Number<std::uint8_t>("forward");
  return block;
}

cMemBlock ActivityRequest(Fields& fields) {
  ActivityRequestBlock block = ActivityRequestBlock::New();
  block.Record().from = fields.Number<ArchiveTime>("from");
  block.Record().to = fields.Number<ArchiveTime>("to");
  block.Record().binCount = fields.Number<std::int32_t>("binCount");
  block.Record().streamId = fields.Number<std::int32_t>("streamId");
  return block;
}

cMemBlock PreviewRequest(Fields& fields) {
  PreviewRequestBlock block = PreviewRequestBlock::New();
  block.Record().time = fields.Number<ArchiveTime>("time");
  block.Record().endTime = fields.Number<ArchiveTime>("endTime");
  return block;
}

cMemBlock ArchivesRequest(Fields&) {
  return ArchivesRequestBlock::New();
}

cMemBlock DataTick(Fields&) {
  return DataTickBlock::New();
}

struct NamedCommand {
  const char* name;
  cMemBlock (*make)(Fields&);
};

constexpr NamedCommand kCommands[] = {
    {"CRq3", ChunkRequest},    {"PCR3", ParserChunkRequest}, {"Pla3", Play},
    {"His3", ActivityRequest}, {"Prev", PreviewRequest},     {"ArcR", ArchivesRequest},
    {"datr", DataTick},
};

cMemBlock CommandFromJson(const Json& value) {
  if (!value.is_object()) throw CommandError("a command is a JSON object");
  const auto name = value.find("cmd");
  if (name == value.end()) throw CommandError("the command has no cmd");
  if (!name->is_string()) throw CommandError("cmd is not a text");
  for (const NamedCommand& command : kCommands) {
    if (*name != command.name) continue;
    Fields fields(value);
    const cMemBlock block = command.make(fields);
    fields.RefuseOthers();
    return block;
  }
  throw CommandError("unknown command");
}

}  // namespace

std::vector<cMemBlock> CommandsFromJson(const std::string& text) {
  constexpr bool kMayThrow = false;
  // The parser would take a NUL for the end of the text.
  if (text.find('\0') != std::string::npos) throw CommandError("not a JSON value");
  const Json value = Json::parse(text, nullptr, kMayThrow);
  if (value.is_discarded()) throw CommandError("not a JSON value");
  if (!value.is_array()) return {CommandFromJson(value)};
  std::vector<cMemBlock> commands;
  for (const Json& element : value) commands.push_back(CommandFromJson(element));
  return commands;
}
