#pragma once

#include <QByteArray>
#include <QDir>
#include <QSet>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/archive_stream.h"
#include "indexer/folder_listing.h"
#include "indexer/plain_file.h"
#include "indexer/zel3_indexer.h"
#include "sdk/brick.h"

// The archive reader: serves one archive file, or one folder of them, by time.
//
// A client asks where a time lies ('CRq3') and for the bytes of an entry ('PCR3'); it plays,
// previews and asks for activity and for the list of archives. A file without an index is indexed
// first: the reader then streams it through a second reader, the index reader, and a parser of the
// host, and collects what the parser finds.
//
// All calls come on the pipeline's thread. No exception leaves a callback; a request that fails for
// lack of memory is dropped. Archives are opened for reading only. The reader refers to the bricks
// that it makes and ends them with 'Kill'; the host owns the reader.
class CZel3FileReader : public CBrick {
 public:
  CZel3FileReader();
  ~CZel3FileReader() override;

 protected:
  int onCtrl(cMemBlock& block) override;
  int onData(const cMemBlock& block) override;
  int onNotify(const cMemBlock& block) override;
  int onCreate(const TBrickConfig& config) override;

 private:
  // Opening (archive_opening.cpp). Paths: local 8-bit encoding as char*, else decoded. Nothing is
  // opened (0 or false) also when an indexing run has been started: its end opens again. A file
  // that is not opened is the current one all the same. `headAndTailOnly`: a quick index will do.
  int open(const char* path);
  bool Open_folder(const QString& folderPath);
  bool Open_files_of_folder(const std::vector<ListedFile>& archives);
  bool Open_file(const QString& path, bool headAndTailOnly);
  bool MakeIndex(const QString& path, bool headAndTailOnly);
  void NoteFailure(const QString& path);
  void SetNoArchive();
  // The path of the creation record.
  QByteArray SourcePath() const;

  // The archive file (archive_file.cpp).
  bool OpenStream(const QString& path);
  void close();
  // The file now open or last tried; empty before the first.
  const QString& CurrentPath() const;
  // What follows its last "/".
  QString CurrentFileName() const;
  // Reads up to `size` bytes at `position`; the number of bytes read.
  std::size_t ReadFileAt(FilePosition position, void* bytes, std::size_t size);

  // An index made of only the first and last index record of the current file (quick_index.cpp).
  bool Adv_Read_head_and_tail_index();
  bool Adv_Read_head_and_tail_index_ZEL3();
  bool Adv_Read_head_and_tail_index_ZEL1();
  bool ReadHeadIndex();
  bool ReadTailIndex();
  enum class TailSearch { kFound, kNotFound, kNothingThere };
  // Looks for the last index record of the stretch of the file at `position`, from its byte `from`
  // on.
  TailSearch SearchStretch(FilePosition position, std::uint64_t from);

  // Control blocks (control_dispatch.cpp).
  void Dispatch(const cMemBlock& block);
  void OnDataTick();

  // The list of archives (archive_list.cpp).
  void OnArchivesEntryRequest();
  void Send_No_archive_warning();

  // Requests by time and for bytes (chunk_requests.cpp).
  void OnChunkRequest(const ChunkRequestBlock& request);
  void AnswerNotFound(ArchiveTime time);
  void SendChunkAnswer(const TZEL3ChunkInfo& info);
  void OnParserChunkRequest(const ParserChunkRequestBlock& request);
  void OnParserPreviewRequest(const ParserChunkRequestBlock& request);
  struct Answer;
  Answer PlanAnswer(const TZEL3ChunkInfo& request);
  void OpenFileOf(IndexId indexId);
  bool Need_header_for_index(IndexId indexId, FilePosition* headerStart, FilePosition* headerEnd);
  RawDataBlock MakeAnswerBlock(Answer& answer);
  void FillAnswer(const Answer& answer, ArchiveTime time, unsigned char* bytes);

  // Streaming a whole file, portion by portion (streaming.cpp).
  // Bytes of the file, read but not sent.
  struct Portion {
    cMemBlock block;
    std::uint32_t size = 0;  // how many of the block's bytes
  };
  void ReadAndSend();
  Portion ReadPortion();

  // Play, activity and preview (play_commands.cpp).
  void OnPlayCmd(const PlayBlock& command);
  void OnCmdGetActivity(const ActivityRequestBlock& request);
  void OnCmdGetPreview(const PreviewRequestBlock& request);
  bool FindPreview(ArchiveTime time, TZEL3ChunkInfo* info);
  void Send_all_events_notify();

  // The indexing run (indexing_run.cpp). `path` empty: the current file.
  int Start_make_index(const QString& path);
  bool BeginIntake();
  bool BeginAnew();
  void Create_index_reader(const QString& path);
  void Create_index_parser();
  void Create_preview_parser();
  CBrick* CreateParser();
  void InitBrickConfig(TBrickConfig& childConfig);
  void TakeRecord(const cMemBlock& block);
  void OnParserTag(const TParserTag& parserTag);
  void PullNextBlock();
  void Send_finish_indexing();
  void OpenAfterRun();
  bool EndChildren();
  void AnswerPendingChunkRequest();

  // Messages to the client (messages.cpp).
  void Send_start_indexing();
  void Send_indexing_progress();
  void SendProgress(std::uint32_t percent);
  void SendRunEnded();
  void SendMessage(Tag level, Tag code, const std::string& text, const QString& detail);

  // Not owned. The last one is never set: nothing asks for a parser for previews.
  CZel3FileReader* indexReader = nullptr;
  CBrick* indexParser = nullptr;
  CBrick* previewParser = nullptr;
  TBrickConfig config = {};
  // Made by another reader to feed a run: only opens and streams its file. Borrowed by a reader
  // that only opens another file of its folder.
  bool isIndexReader = false;
  bool indexing = false;  // a run of this reader is in progress
  // The end of the run answers pendingChunkRequest. Set by the request that starts the run, which
  // is itself not kept.
  bool chunkRequestPending = false;
  bool streamStopped = true;  // no bytes are served until a chunk request of type kAtOrBefore
  // The source holds no usable archive: the list of archives is refused. Never cleared; times are
  // looked up and served all the same.
  bool noArchive = false;
  bool recordLost = false;  // the run at hand has missed a record for lack of memory
  bool begunAnew = false;   // it has begun anew, which it does once at most
  bool pullMissed = false;  // it waits for a block that has not been asked for
  std::uint32_t lastProgressPercent = 0;
  bool archivesRequestPending = false;  // the list is to be sent as soon as there is one
  bool eventsSent = false;              // a play command has sent the events
  bool folderMode = false;
  // The current file, by its suffix: at most one of the two is set.
  QString zel3FilePath;
  QString zel1FilePath;
  QString indexedFilePath;         // the file of the last run, also of one that could not start
  bool answeringAfterRun = false;  // the request at hand was kept during a run
  QDir folder;
  QSet<QString> failedFiles;  // full paths of files that failed once
  QSet<QString> folderFiles;  // bare names of folder entries set aside
  PlainFile file;
  std::uint64_t fileSize = 0;
  ArchiveStream stream;  // the file of an index reader
  Portion unsent;        // what it has read and could not send
  bool playForward = true;
  TZEL3ChunkInfo lastChunk;  // the entry whose bytes were sent last
  TZEL3ChunkInfo nextChunk;  // what the last lookup found, or the answer that it found nothing
  cZel3Indexer indexer;
  ChunkRequestBlock pendingChunkRequest = ChunkRequestBlock::New();
  // Kept, but never answered: a parser asks again after the answer to the chunk request.
  ParserChunkRequestBlock pendingParserRequest = ParserChunkRequestBlock::New();
};
