#include "reader/child_bricks.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"
#include "sdk/brick_loader.h"

namespace {

template <class Brick>
void EndChild(Brick*& child, const KillBlock& kill) {
  if (child == nullptr) return;
  child->enqueueControl(kill);
  child = nullptr;
}

}  // namespace

bool ChildBricks::EndChain(CBrick& owner) {
  if (indexParser == nullptr && indexReader == nullptr) return true;
  return Contain([&] {
    if (indexParser != nullptr) {
      indexParser->DisconnectFrom(indexReader);
      owner.DisconnectFrom(indexParser);
    }
    // One block serves both.
    const auto kill = KillBlock::New();
    EndChild(indexParser, kill);
    EndChild(indexReader, kill);
  });
}

void ChildBricks::EndAll() {
  // Each gets its own block, so that one that cannot be allocated does not hold up the others.
  const auto end = [](auto*& child) {
    if (child != nullptr) Contain([&child] { EndChild(child, KillBlock::New()); });
  };
  end(indexReader);
  end(indexParser);
  end(previewParser);
}

void CZel3FileReader::Create_index_reader(const QString& path) {
  auto reader = std::make_unique<CZel3FileReader>();
  reader->isIndexReader = true;
  TBrickConfig readerConfig = config;
  const QByteArray localPath = path.toLocal8Bit();
  const std::size_t length = std::min<std::size_t>(static_cast<std::size_t>(localPath.size()),
                                                   sizeof(readerConfig.sourcePath) - 1);
  std::memset(readerConfig.sourcePath, 0, sizeof(readerConfig.sourcePath));
  std::memcpy(readerConfig.sourcePath, localPath.constData(), length);
  reader->Create(readerConfig);
  // From here on it ends by itself when it is told to.
  children.indexReader = reader.release();
}

void CZel3FileReader::Create_index_parser() {
  children.indexParser = CreateParser();
}

void CZel3FileReader::Create_preview_parser() {
  children.previewParser = CreateParser();
}

CBrick* CZel3FileReader::CreateParser() {
  TBrickConfig parserConfig = {};
  InitBrickConfig(parserConfig);
  parserConfig.signature = tag::kSignatureParser;
  parserConfig.input.format = archiveFile.IsZel3() ? tag::kFormatZel3 : tag::kFormatZel1;
  parserConfig.input.kind = tag::kRawData;
  parserConfig.output.format = tag::kFormatMany;
  parserConfig.output.kind = tag::kKindMany;
  return CBrickLoader::CreateBrick(tag::kSignatureParser, parserConfig);
}

void CZel3FileReader::InitBrickConfig(TBrickConfig& childConfig) {
  childConfig.ownerContext = config.ownerContext;
}
