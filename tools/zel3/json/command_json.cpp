#include "json/command_json.h"

#include <cstdint>
#include <limits>

#include "blocks/commands.h"
#include "text/json_text.h"

namespace {

// The numbers of one command. Asking for a number makes its key known, and says what it means.
class Fields {
 public:
  explicit Fields(const Json& command) : mCommand(command) {}

  // The number under `key`, 0 when the key is absent.
  template <class Integer>
  Integer Number(const char* key, const char* help,
                 Integer greatest = std::numeric_limits<Integer>::max()) {
    mAsked.push_back({key, help});
    const auto field = mCommand.find(key);
    if (field == mCommand.end()) return 0;
    ++mGiven;
    if (!field->is_number_integer())
      throw CommandError(std::string(key) + " is not a whole number");
    if (!IsBetween(*field, std::numeric_limits<Integer>::min(), greatest)) {
      throw CommandError(std::string(key) + " is out of range");
    }
    return field->get<Integer>();
  }

  void RefuseOthers() const {
    const std::size_t withName = mGiven + 1;
    if (mCommand.size() != withName) throw CommandError("the command has an unknown key");
  }

  const std::vector<CommandField>& Asked() const { return mAsked; }

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
  std::size_t mGiven = 0;  // of those asked for
  std::vector<CommandField> mAsked;
};

constexpr char kIndexIdHelp[] = "file number in the upper 32 bits, entry number in the lower";

cMemBlock ChunkRequest(Fields& fields) {
  ChunkRequestBlock block = ChunkRequestBlock::New();
  block.Record().time = fields.Number<ArchiveTime>("time", "the archive time to look for");
  block.Record().type = fields.Number<std::uint32_t>("type", "1: at or before, 2: neighbour");
  return block;
}

cMemBlock ParserChunkRequest(Fields& fields) {
  ParserChunkRequestBlock block = ParserChunkRequestBlock::New();
  block.Record().indexId = fields.Number<IndexId>("indexId", kIndexIdHelp);
  block.Record().time = fields.Number<ArchiveTime>("time", "the archive time of the entry");
  block.Record().preview = fields.Number<std::uint8_t>("preview", "1: for a preview", 1);
  return block;
}

cMemBlock Play(Fields& fields) {
  PlayBlock block = PlayBlock::New();
  block.Record().indexId = fields.Number<IndexId>("indexId", kIndexIdHelp);
  block.Record().time = fields.Number<ArchiveTime>("time", "the archive time to play from");
  block.Record().mode = fields.Number<std::uint32_t>("mode", "is passed on as it is");
  block.Record().forward = fields.Number<std::uint8_t>("forward", "not 0: forward");
  return block;
}

cMemBlock ActivityRequest(Fields& fields) {
  ActivityRequestBlock block = ActivityRequestBlock::New();
  block.Record().from = fields.Number<ArchiveTime>("from", "where the range begins");
  block.Record().to = fields.Number<ArchiveTime>("to", "where it ends");
  block.Record().binCount =
      fields.Number<std::int32_t>("binCount", "into how many parts it is cut");
  block.Record().streamId = fields.Number<std::int32_t>("streamId", "the number of the stream");
  return block;
}

cMemBlock PreviewRequest(Fields& fields) {
  PreviewRequestBlock block = PreviewRequestBlock::New();
  block.Record().time = fields.Number<ArchiveTime>("time", "the archive time to show");
  block.Record().endTime = fields.Number<ArchiveTime>("endTime", "where the range ends");
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
  const char* help;
  cMemBlock (*make)(Fields&);
};

constexpr NamedCommand kCommands[] = {
    {"CRq3", "where a time lies", ChunkRequest},
    {"PCR3", "the bytes of an entry", ParserChunkRequest},
    {"Pla3", "plays from an entry", Play},
    {"His3", "the activity of a stream", ActivityRequest},
    {"Prev", "the entry to show for a time", PreviewRequest},
    {"ArcR", "the list of archives", ArchivesRequest},
    {"datr", "the next portion, or progress", DataTick},
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

std::vector<CommandHelp> HelpOfCommands() {
  const Json nothing = Json::object();
  std::vector<CommandHelp> commands;
  for (const NamedCommand& command : kCommands) {
    Fields fields(nothing);
    command.make(fields);
    commands.push_back({command.name, command.help, fields.Asked()});
  }
  return commands;
}
