// Any sequence of commands, records and notifications to a live reader over a folder or a file,
// also blocks that are too small for their record, and also in the middle of an indexing run: each
// answer is what its kind promises, everything comes to an end, and nothing stays behind.

#include <unistd.h>

#include <memory>

#include "archive_writer.h"
#include "fuzz_client.h"
#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "pipeline.h"
#include "zel3_file_reader.h"

namespace {

constexpr std::uint64_t kMostSteps = 100000;
constexpr const char* kArchives[] = {"a.zel3", "b.zel3", "c.zel3", "d.zel"};

// Four archives, one after the other with a gap, one overlapping, one older.
struct Place {
  FuzzFolder folder;
  Place() {
    Write("a.zel3", {10, 20, 30, 40});
    Write("b.zel3", {35, 45, 55});
    Write("c.zel3", {100, 90, 110, 110});
    Write("d.zel", {200, 210});
  }
  void Write(const std::string& name, const std::vector<std::uint32_t>& times) const {
    ArchiveWriter writer(folder / name);
    ArchiveHeader header;
    header.title = "Day";
    header.streams = {{1, 1, "video", "Gate", "h264"}};
    writer.WriteHeader(header);
    const Bytes payload{'d', 'o', 'o', 'r'};
    for (const std::uint32_t time : times) {
      IDX_T index;
      index.time = time;
      writer.WriteIndex(index);
      writer.WriteData(1, 7, payload.data(), payload.size());
      writer.WriteData(0x80, 0, payload.data(), payload.size());
    }
    writer.Close();
  }
};

// Sends what a parser or another reader would.
class Neighbour final : public CBrick {
 public:
  using CBrick::SendData;
};

std::uint64_t Time(FuzzInput& input) {
  const std::uint8_t kind = input.Byte();
  return kind == 255 ? input.Number(8) : std::uint64_t{kind} * 1000;
}

// A command whose record is cut when the input says so.
template <class Block>
Block Made(FuzzInput& input) {
  const std::uint8_t cut = input.Byte();
  const std::uint32_t size = Block::New().Size();
  return cut < 8 ? Block::New(size - std::min<std::uint32_t>(size, cut)) : Block::New();
}

cMemBlock Command(FuzzInput& input) {
  switch (input.Byte() % 8) {
    case 0: {
      auto block = Made<ChunkRequestBlock>(input);
      block.Record().time = Time(input);
      block.Record().type = input.Byte() % 4;
      return block;
    }
    case 1: {
      auto block = Made<ParserChunkRequestBlock>(input);
      block.Record().time = Time(input);
      block.Record().indexId = MakeIndexId(input.Byte() % 6, input.Byte() % 6);
      block.Record().preview = input.Byte() % 2;
      return block;
    }
    case 2: {
      auto block = Made<PlayBlock>(input);
      block.Record().forward = input.Byte();
      return block;
    }
    case 3: {
      auto block = Made<ActivityRequestBlock>(input);
      block.Record().from = Time(input);
      block.Record().to = Time(input);
      block.Record().binCount = static_cast<std::int16_t>(input.Number(2));
      block.Record().streamId = input.Byte() % 4;
      return block;
    }
    case 4: {
      auto block = Made<PreviewRequestBlock>(input);
      block.Record().time = Time(input);
      block.Record().endTime = Time(input);
      return block;
    }
    case 5:
      return ArchivesRequestBlock::New();
    case 6:
      return DataTickBlock::New();
    default:
      return ChunkAnswerBlock::New();
  }
}

template <class Block>
Block Bare(FuzzInput& input) {
  const std::uint8_t size = input.Byte();
  return size < 4 ? Block::New(size) : Block::New();
}

cMemBlock Record(FuzzInput& input) {
  switch (input.Byte() % 6) {
    case 0: {
      auto block = Bare<ParserTagBlock>(input);
      block.WritableRecord().position = input.Number(8);
      return block;
    }
    case 1: {
      auto block = Bare<IndexBlock>(input);
      block.WritableRecord().time = static_cast<std::uint32_t>(input.Number(4));
      block.WritableRecord().indexFlag = input.Byte();
      return block;
    }
    case 2: {
      auto block = DataBlock::New(sizeof(DATA_T) + input.Byte());
      block.WritableRecord().length = static_cast<std::uint16_t>(input.Number(2));
      block.WritableRecord().flags = input.Byte();
      block.WritableRecord().type = input.Byte();
      return block;
    }
    case 3: {
      auto block = Bare<HeaderBlock>(input);
      block.WritableRecord().streams[input.Byte()].streamActive = input.Byte();
      return block;
    }
    case 4: {
      auto block = Bare<StreamTagBlock>(input);
      block.WritableRecord().kind = tag::kBlockFinished;
      return block;
    }
    default: {
      auto block = Made<MessageBlock>(input);
      block.Record().level = tag::kLevelWarning;
      block.Record().code = tag::kCodeEndOfFile;
      return block;
    }
  }
}

void RemoveCaches(const FuzzFolder& folder) {
  for (const char* const archive : kArchives) {
    const std::string stem = std::string(archive).substr(0, 2);
    for (const char* const kind : {"id3", "hdr", "evt"}) unlink((folder / (stem + kind)).c_str());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const Place place;
  FuzzInput input(bytes, size);
  const std::uint8_t choices = input.Byte();
  if ((choices & 1) != 0) RemoveCaches(place.folder);
  const std::string source = (choices & 2) != 0 ? place.folder.Path() : place.folder / kArchives[0];

  const long liveBefore = cMemBlock::node::LiveCount();
  {
    Pipeline pipeline;
    TBrickConfig config = {};
    config.ownerContext = pipeline.Id();
    source.copy(config.sourcePath, sizeof(config.sourcePath) - 1);
    Neighbour neighbour;
    neighbour.Create(config);
    auto reader = std::make_unique<CZel3FileReader>();
    reader->Create(config);
    reader->ConnectAfter(&neighbour);
    FuzzClient client;
    client.Create(config);
    client.ConnectAfter(reader.get());
    for (int count = 0; count < 60 && !input.IsEmpty(); ++count) {
      const std::uint8_t action = input.Byte();
      if (action < 128) {
        reader->enqueueControl(Command(input));
      } else if (action < 192) {
        neighbour.SendData(Record(input));
      } else if (action < 224) {
        for (int steps = action % 8; steps > 0; --steps) pipeline.RunOne();
      } else {
        FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
      }
      client.blocks.clear();
    }
    if ((choices & 4) != 0) FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
    reader.reset();
    FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
    FUZZ_REQUIRE(pipeline.BrickCount() == 2);
  }
  FUZZ_REQUIRE(cMemBlock::node::LiveCount() == liveBefore);
  return 0;
}
