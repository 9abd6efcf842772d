#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/commands.h"
#include "blocks/four_cc.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/folder_listing.h"
#include "indexer/zel3_indexer.h"
#include "reader/archive_file.h"
#include "reader/child_bricks.h"
#include "reader/indexing_run.h"
#include "reader/life.h"
#include "reader/parked.h"
#include "reader/playing.h"
#include "reader/source.h"
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
  // The creation record, and closing (lifecycle.cpp).

  // The path that the creation record names.
  QByteArray SourcePath() const;
  void close();

  // Opening (archive_opening.cpp). Paths: local 8-bit encoding as char*, else decoded. The result
  // is also 0 or false when an indexing run was started, whose end reopens the source.
  // `headAndTailOnly`: a quick index will do.
  int open(const char* path);
  bool Open_folder(const QString& folderPath);
  bool Open_files_of_folder(const std::vector<ListedFile>& archives);
  bool Open_file(const QString& path, bool headAndTailOnly);
  bool MakeIndex(const QString& path, bool headAndTailOnly);
  void OpenForBytes(const QString& path);
  void NoteFailure(const QString& path);
  void SetNoArchive();

  // An index made of only the first and last index record of the current file (quick_index.cpp).
  bool Adv_Read_head_and_tail_index();
  bool Adv_Read_head_and_tail_index_ZEL3();
  bool Adv_Read_head_and_tail_index_ZEL1();

  // Control blocks (control_dispatch.cpp).
  void Dispatch(const cMemBlock& block);
  void OnDataTick();

  // The list of archives (archive_list.cpp).
  void OnArchivesEntryRequest();
  void Send_No_archive_warning();

  // Requests by time and for bytes (chunk_requests.cpp). `justIndexed`: a run over this file has
  // just ended, so that another one would not help.
  void OnChunkRequest(const ChunkRequestBlock& request, const QString& justIndexed = QString());
  void AnswerNotFound(ArchiveTime time);
  void SendChunkAnswer(const TZEL3ChunkInfo& info);
  void OnParserChunkRequest(const ParserChunkRequestBlock& request);
  void OnParserPreviewRequest(const ParserChunkRequestBlock& request);
  struct Answer;
  Answer PlanAnswer(const TZEL3ChunkInfo& request);
  void OpenFileOf(IndexId indexId);
  bool Need_header_for_index(IndexId indexId, FilePosition* headerStart, FilePosition* headerEnd);
  static RawDataBlock MakeAnswerBlock(Answer& answer);
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
  void Send_all_events_notify();

  // The indexing run (indexing_run.cpp). `path` empty: the current file. `hasBegun` is set before
  // anything is sent: where a host delivers at once, a run that has begun may already have ended,
  // and so may the brick, unless it is being opened.
  int Start_make_index(const QString& path, bool* hasBegun);
  bool MakeChain(const QString& file);
  void Send_start_indexing(const QString& file);
  void PullNextBlock();
  void Send_finish_indexing();
  void SaveIndex(bool hasAllRecords);
  bool BeginAnew();
  void OpenAfterRun();
  void AnswerPendingChunkRequest(const QString& justIndexed);

  // What the parser of a run reports (run_records.cpp).
  void TakeRecord(const cMemBlock& block);
  void OnParserTag(const TParserTag& parserTag);

  // The bricks that the reader makes (child_bricks.cpp).
  void Create_index_reader(const QString& path);
  void Create_index_parser();
  void Create_preview_parser();
  CBrick* CreateParser();
  void InitBrickConfig(TBrickConfig& childConfig);

  // Messages to the client (messages.cpp).
  void Send_indexing_progress();
  void SendProgress(std::uint32_t percent);
  void SendRunEnded();
  void SendMessage(Tag level, Tag code, const std::string& text, const QString& detail);

  // The state. A part's header says what holds for it.
  TBrickConfig config = {};
  bool isIndexReader = false;  // made by another reader to feed a run: only streams its file
  // Opening starts a run. Where a host delivers at once, the run ends meanwhile and opens the
  // source again, which must not start another run.
  bool isStartingRun = false;
  Life life;
  cZel3Indexer indexer;
  Source source;
  ArchiveFile archiveFile;
  Portion unsent;  // what an index reader has read and could not send
  Playing playing;
  IndexingRun run;
  ChildBricks children;
  Parked parked;
};
