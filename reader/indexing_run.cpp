#include <algorithm>
#include <cstring>
#include <memory>

#include "blocks/contain.h"
#include "blocks/scoped_value.h"
#include "reader/zel3_file_reader.h"
#include "sdk/brick_loader.h"

namespace {

// The warning with which an index reader tells that it has read all of its file.
bool IsEndOfFile(const cMemBlock& block) {
  if (block.GetType() != tag::kNotify) return false;
  const auto notify = NotifyBlock::View(block);
  if (!notify.HoldsRecord() || notify.Record().kind != tag::kMessage) return false;
  const auto message = MessageBlock::View(block);
  return message.HoldsRecord() && message.Record().level == tag::kLevelWarning &&
         message.Record().code == tag::kCodeEndOfFile;
}

// Ends a run of the indexer, however its scope is left.
class RunEnd {
 public:
  explicit RunEnd(cZel3Indexer& indexer) : mIndexer(indexer) {}
  ~RunEnd() { mIndexer.EndRun(); }
  RunEnd(const RunEnd&) = delete;
  RunEnd& operator=(const RunEnd&) = delete;

 private:
  cZel3Indexer& mIndexer;
};

}  // namespace

int CZel3FileReader::Start_make_index(const QString& path) {
  indexedFilePath = path.isEmpty() ? archiveFile.Path() : path;
  begunAnew = false;
  bool begun = false;
  Contain([&] {
    indexer.Reopen_for_write();
    begun = BeginIntake();
  });
  if (!begun) {
    indexer.EndRun();
    return 0;
  }
  Send_start_indexing();
  PullNextBlock();
  return 0;
}

// False when the children could not be made, or older ones not be ended: there are no new ones
// then.
bool CZel3FileReader::BeginIntake() {
  // Opening may have loaded an older cache; the records of the run must not come on top of it.
  indexer.BeginIntake();
  recordLost = false;
  if (!EndChildren()) return false;
  const bool made = Contain([this] {
    Create_index_reader(indexedFilePath);
    Create_index_parser();
    if (indexParser == nullptr) return;
    indexParser->ConnectAfter(indexReader);
    ConnectAfter(indexParser);
  });
  if (made && indexParser != nullptr) return true;
  EndChildren();
  return false;
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
  // From here on it ends by itself, when told so.
  indexReader = reader.release();
}

void CZel3FileReader::Create_index_parser() {
  indexParser = CreateParser();
}

void CZel3FileReader::Create_preview_parser() {
  previewParser = CreateParser();
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
  childConfig.ownerContext = OwnerContext();
}

int CZel3FileReader::onData(const cMemBlock& block) {
  // The run goes on without a record that is lost, but its index is not kept.
  if (indexing && !Contain([&] { TakeRecord(block); })) recordLost = true;
  return 1;
}

void CZel3FileReader::TakeRecord(const cMemBlock& block) {
  switch (block.GetType()) {
    case tag::kHeader: {
      const auto header = HeaderBlock::View(block);
      if (header.HoldsRecord()) indexer.Add_header(header.Record());
      break;
    }
    case tag::kIndex: {
      const auto index = IndexBlock::View(block);
      if (index.HoldsRecord()) indexer.Add_index(index.Record());
      break;
    }
    case tag::kData:
    case tag::kVideo:
    case tag::kSound:
    case tag::kImage:
    case tag::kText:
    case tag::kBinary:
    case tag::kUnknownKind: {
      const auto data = DataBlock::View(block);
      if (data.HoldsRecord())
        indexer.Add_block(data.Record(), data.ExtraBytes(), data.GetExtraSize());
      break;
    }
    case tag::kParserTag: {
      const auto parserTag = ParserTagBlock::View(block);
      if (parserTag.HoldsRecord()) OnParserTag(parserTag.Record());
      break;
    }
    case tag::kStreamTag: {
      const auto streamTag = StreamTagBlock::View(block);
      if (streamTag.HoldsRecord() && streamTag.Record().kind == tag::kBlockFinished)
        PullNextBlock();
      break;
    }
    default:
      break;
  }
}

void CZel3FileReader::OnParserTag(const TParserTag& parserTag) {
  indexer.SetRecordPosition(parserTag.position);
  const std::uint64_t fileSize = archiveFile.Size();
  if (fileSize == 0) return;
  // The size is that of the file now open, which in a folder need not be the one being indexed: the
  // result may exceed 100.
  const auto percent = static_cast<std::uint32_t>(parserTag.position * 100 / fileSize);
  if (percent == lastProgressPercent) return;
  lastProgressPercent = percent;
  Send_indexing_progress();
}

// The parser takes this as the word to ask the index reader for more. Without it nothing moves on,
// so a word that finds no memory is sent with the next command.
void CZel3FileReader::PullNextBlock() {
  pullMissed = !TryAFewTimes([this] {
    auto request = ChunkRequestBlock::New();
    request.Record().type = kNeighbour;
    SendCmd(request);
  });
}

int CZel3FileReader::onNotify(const cMemBlock& block) {
  if (!indexing || !IsEndOfFile(block)) return 1;
  // Where this fails, the waiting request is dropped, unless it has started a run of its own;
  // clients ask again.
  if (!Contain([this] { Send_finish_indexing(); })) parked.SetPending(indexing);
  return 1;
}

// What could not be read may have been out of reach for a while only: if some of it can be read at
// the end, the run starts from the front, on an empty index, with the same request waiting.
bool CZel3FileReader::BeginAnew() {
  if (begunAnew || !indexReader->archiveFile.CanBeReadNow()) return false;
  begunAnew = true;
  recordLost = !BeginIntake();
  if (!recordLost) PullNextBlock();
  return !recordLost;
}

void CZel3FileReader::Send_finish_indexing() {
  if (isIndexReader) return;
  if (BeginAnew()) return;
  indexing = false;
  // Where records have been lost or the end of the file could not be read, the index is not whole.
  // It is not kept then: the cache files stay empty, and the file is indexed again.
  const bool whole = !recordLost && indexReader->archiveFile.ReachesTheEnd();
  Contain([&] {
    indexer.CloseLastStretch(archiveFile.Size() - 1);
    if (whole) indexer.Save_files();
  });
  EndChildren();
  // The archive is opened again also when nobody can be told.
  Contain([this] { SendRunEnded(); });
  OpenAfterRun();
  AnswerPendingChunkRequest();
}

void CZel3FileReader::OpenAfterRun() {
  // Opening still finds the index where the run has put it.
  const RunEnd end(indexer);
  if (open(SourcePath().constData()) != 0 && source.IsListRequested()) OnArchivesEntryRequest();
}

// One 'Kill' block serves both bricks. They end by themselves, after this brick has let go of them.
// False when one cannot be told for lack of memory: it is told when the next run starts or the
// reader ends.
bool CZel3FileReader::EndChildren() {
  if (indexParser == nullptr && indexReader == nullptr) return true;
  if (indexParser != nullptr) {
    indexParser->DisconnectFrom(indexReader);
    DisconnectFrom(indexParser);
  }
  return Contain([this] {
    const auto kill = KillBlock::New();
    const auto end = [&kill](auto*& child) {
      if (child != nullptr) child->enqueueControl(kill);
      child = nullptr;
    };
    end(indexParser);
    end(indexReader);
  });
}

void CZel3FileReader::AnswerPendingChunkRequest() {
  if (!parked.IsPending()) return;
  parked.SetPending(false);
  Send_all_events_notify();
  const ScopedValue<bool> afterRun(answeringAfterRun, true);
  // A handle of its own: the answer may start another run, which keeps another request.
  const ChunkRequestBlock request = parked.ChunkRequest();
  OnChunkRequest(request);
}
