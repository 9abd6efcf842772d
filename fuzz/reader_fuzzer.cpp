// Any sequence of commands, records and notifications to a running reader over a folder or a file,
// also with blocks too small for their record, in the middle of an indexing run, and while archives
// and cache files are cut, overwritten, removed and put back: each answer is what its kind
// promises, everything comes to an end, and nothing leaks.

#include <unistd.h>

#include <map>
#include <memory>
#include <set>

#include "archive/archive_writer.h"
#include "fuzz_client.h"
#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "host/pipeline.h"
#include "reader/zel3_file_reader.h"

namespace {

constexpr std::uint64_t kMostSteps = 100000;
constexpr int kMostActions = 30;

// Four archives with gaps: two overlap in time, one has times that run back, one the older suffix.
class Place {
 public:
  Place() {
    Write("a.zel3", {10, 20, 30, 40});
    Write("b.zel3", {35, 45, 55});
    Write("c.zel3", {100, 90, 110, 110});
    Write("d.zel", {200, 210});
  }

  std::string Path() const { return mFolder.Path(); }
  std::string operator/(const std::string& name) const { return mFolder / name; }

  // Cuts, overwrites, lengthens, removes or restores an archive or one of its cache files.
  void Change(FuzzInput& input) {
    const std::string archive = kArchives[input.Byte() % std::size(kArchives)];
    const std::uint8_t kind = input.Byte() % 4;
    const std::string name =
        kind == 0 ? archive : archive.substr(0, 2) + kCacheExtensions[kind - 1];
    const std::string path = mFolder / name;
    if (kind == 0) mChanged.insert(archive);
    Bytes content = ReadFile(path);
    switch (input.Byte() % 4) {
      case 0:
        content.resize(std::min<std::size_t>(content.size(), input.Byte()));
        break;
      case 1: {
        const std::size_t at = input.Byte();
        const Bytes other = input.Take(input.Byte() % 40);
        if (content.size() < at + other.size()) content.resize(at + other.size());
        std::copy(other.begin(), other.end(), content.begin() + static_cast<std::ptrdiff_t>(at));
        break;
      }
      case 2:
        unlink(path.c_str());
        return;
      default:
        content = mContents.count(name) != 0 ? mContents.at(name) : Bytes();
        break;
    }
    WriteFile(path, content);
  }

  void RestoreArchives() {
    for (const std::string& name : mChanged) WriteFile(mFolder / name, mContents.at(name));
    mChanged.clear();
  }

  void RemoveCaches() const {
    for (const char* const archive : kArchives) {
      const std::string stem = std::string(archive).substr(0, 2);
      for (const char* const kind : kCacheExtensions) unlink((mFolder / (stem + kind)).c_str());
    }
  }

 private:
  static constexpr const char* kArchives[] = {"a.zel3", "b.zel3", "c.zel3", "d.zel"};
  static constexpr const char* kCacheExtensions[] = {"id3", "hdr", "evt"};

  void Write(const std::string& name, const std::vector<std::uint32_t>& times) {
    ArchiveWriter writer(mFolder / name);
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
    mContents[name] = ReadFile(mFolder / name);
  }

  FuzzFolder mFolder;
  std::map<std::string, Bytes> mContents;
  std::set<std::string> mChanged;
};

// Sends what a parser or another reader would send.
class Neighbour final : public CBrick {
 public:
  using CBrick::SendData;
};

std::uint64_t Time(FuzzInput& input) {
  const std::uint8_t kind = input.Byte();
  return kind == 255 ? input.Number(8) : std::uint64_t{kind} * 1000;
}

// A command whose record is cut short when the input says so.
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Place place;
  FuzzInput input(bytes, size);
  const std::uint8_t choices = input.Byte();
  if ((choices & 1) != 0) place.RemoveCaches();
  const std::string source = (choices & 2) != 0 ? place.Path() : place / "a.zel3";

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
    for (int count = 0; count < kMostActions && !input.IsEmpty(); ++count) {
      const std::uint8_t action = input.Byte();
      if (action < 128) {
        reader->enqueueControl(Command(input));
      } else if (action < 192) {
        neighbour.SendData(Record(input));
      } else if (action < 224) {
        for (int steps = action % 8; steps > 0; --steps) pipeline.RunOne();
      } else if (action < 240) {
        FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
      } else {
        place.Change(input);
      }
      client.blocks.clear();
    }
    if ((choices & 4) != 0) FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
    reader.reset();
    FUZZ_REQUIRE(pipeline.RunUntilIdle(kMostSteps));
    FUZZ_REQUIRE(pipeline.BrickCount() == 2);
  }
  FUZZ_REQUIRE(cMemBlock::node::LiveCount() == liveBefore);
  place.RestoreArchives();
  return 0;
}
