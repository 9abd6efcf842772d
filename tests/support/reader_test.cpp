#include "support/reader_test.h"

#include <algorithm>
#include <cstring>

#include "host/brick_plugins.h"
#include "sdk/brick_loader.h"

ReaderTest::ReaderTest()
    : pipeline(HostSettings{"", PLUGIN_FOLDER}), client(std::make_unique<CapturingClient>()) {
  client->Create(Config(""));
}

void ReaderTest::TearDown() {
  EndReader();
  client.reset();
  workshop.archives.clear();
  EXPECT_EQ(pipeline.BrickCount(), 0u);
  EXPECT_EQ(cMemBlock::node::LiveCount(), mLiveNodesBefore);
}

TBrickConfig ReaderTest::Config(const std::string& source, const std::string& cacheFolder) const {
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  config.signature = tag::kSignatureReader;
  config.input = {tag::kFormatZel3, tag::kKindFolder};
  config.output = {tag::kFormatZel3, tag::kRawData};
  std::strncpy(config.sourcePath, source.c_str(), sizeof(config.sourcePath) - 1);
  std::strncpy(config.cacheFolder, cacheFolder.c_str(), sizeof(config.cacheFolder) - 1);
  return config;
}

void ReaderTest::Open(const TBrickConfig& config) {
  TBrickConfig passed = config;
  reader.reset(CBrickLoader::CreateBrick(tag::kSignatureReader, passed));
  ASSERT_NE(reader, nullptr) << brick_plugins::LastError();
  client->ConnectAfter(reader.get());
}

void ReaderTest::EndReader() {
  reader.reset();
  Settle();
  workshop.lastNotification = cMemBlock();
}

void ReaderTest::Run() {
  constexpr std::uint64_t kMoreThanAnyTestNeeds = 100'000;
  ASSERT_TRUE(pipeline.RunUntilIdle(kMoreThanAnyTestNeeds)) << "the bricks never come to rest";
}

void ReaderTest::Settle() {
  Run();
  client->Take();
}

std::vector<cMemBlock> ReaderTest::Received() {
  Run();
  return client->Take();
}

Lines ReaderTest::Told() {
  Lines lines;
  for (const cMemBlock& block : Received()) lines.push_back(BlockText(block));
  return lines;
}

Lines ReaderTest::Ask(const cMemBlock& block) {
  Send(block);
  return Told();
}

Bytes ReaderTest::BytesFor(const cMemBlock& request) {
  Send(request);
  const std::vector<cMemBlock> blocks = Received();
  if (blocks.size() != 1 || blocks[0].GetType() != tag::kRawData) {
    ADD_FAILURE() << "expected one block of raw data, got " << blocks.size() << " blocks";
    return Bytes();
  }
  const RawDataBlock raw = RawDataBlock::View(blocks[0]);
  return Bytes(raw.Bytes(), raw.Bytes() + raw.Size());
}

std::vector<TArchiveEntry> ReaderTest::ArchiveList() {
  Send(ArchivesRequest());
  const std::vector<cMemBlock> blocks = Received();
  if (blocks.size() != 1 || blocks[0].GetType() != tag::kArchives) {
    ADD_FAILURE() << "expected an archive list, got " << blocks.size() << " blocks";
    return {};
  }
  const ArchivesBlock list = ArchivesBlock::View(blocks[0]);
  const TArchiveEntry* const first = list.Record().Archives();
  return {first, first + list.Record().count};
}

Lines ReaderTest::ArchiveTimes() {
  Lines times;
  for (const TArchiveEntry& entry : ArchiveList()) {
    times.push_back(std::to_string(entry.startTime) + "-" + std::to_string(entry.endTime));
  }
  return times;
}

std::string ReaderTest::Place(const std::string& name, const Bytes& content,
                              std::int64_t modified) {
  const std::string path = folder / name;
  ReplaceFile(path, content);
  SetModificationTime(path, modified != 0 ? modified : ++mLastModified);
  return path;
}

std::string ReaderTest::Place(const std::string& name, const SmallArchive& archive,
                              std::int64_t modified) {
  workshop.Learn(archive);
  return Place(name, archive.bytes, modified);
}

Lines Without(const std::string& start, const Lines& lines) {
  Lines others;
  for (const std::string& line : lines) {
    if (line.compare(0, start.size(), start) != 0) others.push_back(line);
  }
  return others;
}

Bytes Part(const Bytes& bytes, std::size_t start, std::size_t count) {
  const std::size_t from = std::min(start, bytes.size());
  const std::size_t length = std::min(count, bytes.size() - from);
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return Bytes(first, first + static_cast<std::ptrdiff_t>(length));
}

Bytes Joined(const Bytes& first, const Bytes& second) {
  Bytes joined = first;
  joined.insert(joined.end(), second.begin(), second.end());
  return joined;
}

Bytes EndMarker() {
  return {0x05, 0xB5, 0xB5, 0xB5, 0, 0, 0, 0, 0, 0, 0, 0, 0};
}

Bytes TimeMarker(std::uint64_t archiveTime) {
  Bytes marker = EndMarker();
  for (unsigned i = 0; i < 8; ++i) {
    marker[4 + i] = static_cast<unsigned char>(archiveTime / 1000 >> 8 * i);
  }
  return marker;
}
