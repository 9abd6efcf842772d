#include "reader/indexing_run.h"

#include <utility>

#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"

namespace {

// The warning by which an index reader says that it has read all of its file.
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

void IndexingRun::Begin(const QString& file) {
  IndexingRun begun = Fresh();
  begun.indexing = true;
  begun.mFile = file;
  *this = begun;
}

IndexingRun IndexingRun::End() {
  return std::exchange(*this, Fresh());
}

IndexingRun IndexingRun::Fresh() const {
  IndexingRun fresh;
  fresh.lastProgressPercent = lastProgressPercent;
  return fresh;
}

bool IndexingRun::SetPercent(std::uint32_t percent) {
  return std::exchange(lastProgressPercent, percent) != percent;
}

int CZel3FileReader::Start_make_index(const QString& path, bool* hasBegun) {
  const QString file = path.isEmpty() ? archiveFile.Path() : path;
  run.End();
  bool begun = false;
  Contain([&] {
    indexer.Reopen_for_write();
    begun = MakeChain(file);
  });
  *hasBegun = begun;
  if (!begun) {
    children.EndChain(*this);
    indexer.EndRun();
    return 0;
  }
  Send_start_indexing(file);
  PullNextBlock();
  return 0;
}

// Makes the chain on an empty index. False when it is not complete; what has been made of it is
// left to the caller.
bool CZel3FileReader::MakeChain(const QString& file) {
  // Opening may have loaded an older cache; the records of the run must not come on top of it.
  indexer.BeginIntake();
  if (!children.EndChain(*this)) return false;
  const bool made = Contain([&] {
    Create_index_reader(file);
    Create_index_parser();
    if (children.indexParser == nullptr) return;
    children.indexParser->ConnectAfter(children.indexReader);
    ConnectAfter(children.indexParser);
  });
  return made && children.indexParser != nullptr;
}

void CZel3FileReader::Send_start_indexing(const QString& file) {
  if (isIndexReader) return;
  run.Begin(file);
  SendProgress(0);
}

// The parser takes this as the signal to ask the index reader for more. Without it nothing moves
// on, so a request that could not be allocated is sent with the next command.
void CZel3FileReader::PullNextBlock() {
  // Set before sending: where a host delivers at once, the run may be over after the send, and the
  // brick gone.
  run.SetPullMissed(false);
  const bool sent = TryAFewTimes([this] {
    auto request = ChunkRequestBlock::New();
    request.Record().type = kNeighbour;
    SendCmd(request);
  });
  if (!sent) run.SetPullMissed(true);
}

int CZel3FileReader::onNotify(const cMemBlock& block) {
  if (!run.IsOn() || !IsEndOfFile(block)) return 1;
  // Where this fails, the waiting request is dropped, unless it has started a run of its own;
  // clients ask again.
  if (!Contain([this] { Send_finish_indexing(); })) parked.SetPending(run.IsOn());
  return 1;
}

void CZel3FileReader::Send_finish_indexing() {
  if (isIndexReader || BeginAnew()) return;
  const IndexingRun ended = run.End();
  Contain([&] { SaveIndex(ended.IsWhole()); });
  children.EndChain(*this);
  // The archive is opened again even when nobody can be told.
  Contain([this] { SendRunEnded(); });
  OpenAfterRun();
  AnswerPendingChunkRequest(ended.File());
}

// Where records were lost or the end of the file could not be read, the index is not whole. Then it
// is not kept: the cache files stay empty, and the file is indexed again.
void CZel3FileReader::SaveIndex(bool hasAllRecords) {
  indexer.CloseLastStretch(archiveFile.Size() - 1);
  if (hasAllRecords && children.indexReader->archiveFile.ReachesTheEnd()) indexer.Save_files();
}

// What could not be read may have been out of reach only for a while: if some of it can be read at
// the end, the run starts over on an empty index, with the same request waiting.
bool CZel3FileReader::BeginAnew() {
  if (!run.MayBeginAnew() || !children.indexReader->archiveFile.CanBeReadNow()) return false;
  run.BeginAnew();
  // Not whole until the chain stands again.
  run.SetWhole(false);
  if (!MakeChain(run.File())) return false;
  run.SetWhole(true);
  PullNextBlock();
  return true;
}

void CZel3FileReader::OpenAfterRun() {
  // Opening still finds the index where the run has put it.
  const RunEnd end(indexer);
  if (open(SourcePath().constData()) != 0 && source.IsListRequested()) OnArchivesEntryRequest();
}

void CZel3FileReader::AnswerPendingChunkRequest(const QString& justIndexed) {
  if (!parked.IsPending()) return;
  parked.SetPending(false);
  Send_all_events_notify();
  // A copy of the handle: the answer may start another run, which keeps another request.
  const ChunkRequestBlock request = parked.ChunkRequest();
  OnChunkRequest(request, justIndexed);
}
