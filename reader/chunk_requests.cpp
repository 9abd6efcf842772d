#include <new>

#include "reader/index_marker.h"
#include "reader/zel3_file_reader.h"

namespace {

// How far the time of a failed lookup is moved, so that the client can go on asking.
constexpr ArchiveTime kTimeShift = 3000;

constexpr std::uint64_t kLargestAnswer = 0x7FFFFFFF;

}  // namespace

// What the answer to a parser's request holds, front to back: the stream header, the entry's bytes
// or a time marker, the terminating marker.
struct CZel3FileReader::Answer {
  FilePosition headerStart = 0;
  std::uint64_t headerLength = 0;
  bool headerNeeded = false;
  bool entryFound = false;
  FilePosition entryStart = 0;
  std::uint64_t entryLength = 0;

  // Each length is compared with the bound by itself: positions from a cache may be anything.
  bool Fits() const {
    return headerLength <= kLargestAnswer && entryLength <= kLargestAnswer &&
           Size() <= kLargestAnswer;
  }
  std::uint64_t Size() const {
    return headerLength + entryLength + (entryFound ? kIndexRecordSize : 2 * kIndexRecordSize);
  }
};

void CZel3FileReader::OnChunkRequest(const ChunkRequestBlock& request, const QString& justIndexed) {
  if (run.IsOn()) {
    parked.Keep(request);
    return;
  }
  const TCmdRequestChunk wanted = request.Record();
  if (wanted.type == kAtOrBefore) playing.streamStopped = false;

  if (!indexer.IndexInfoFromTime(wanted.time, wanted.type, playing.playForward,
                                 &playing.nextChunk)) {
    AnswerNotFound(wanted.time);
    return;
  }
  const QString fileToIndex = indexer.fileToIndex;
  if (fileToIndex.isEmpty()) {
    playing.nextChunk.preview = 0;
    SendChunkAnswer(playing.nextChunk);
    return;
  }
  if (fileToIndex != justIndexed) {
    indexer.Open_file(fileToIndex, 0);
    parked.SetPending(true);
    bool hasBegun = false;
    Start_make_index(fileToIndex, &hasBegun);
    // The end of the run answers. If the host delivers at once, that has already happened, and the
    // brick may be gone.
    if (hasBegun) return;
    parked.SetPending(false);
  }
  playing.nextChunk = TZEL3ChunkInfo();
  AnswerNotFound(wanted.time);
}

void CZel3FileReader::AnswerNotFound(ArchiveTime time) {
  TZEL3ChunkInfo& answer = playing.nextChunk;
  answer.preview = 0;
  answer.time = playing.playForward ? time + kTimeShift : time - kTimeShift;
  SendChunkAnswer(answer);
}

void CZel3FileReader::SendChunkAnswer(const TZEL3ChunkInfo& info) {
  auto answer = ChunkAnswerBlock::New();
  answer.Record().info = info;
  SendData(answer);
}

// A preview is served like any other request.
void CZel3FileReader::OnParserPreviewRequest(const ParserChunkRequestBlock& request) {
  OnParserChunkRequest(request);
}

void CZel3FileReader::OnParserChunkRequest(const ParserChunkRequestBlock& request) {
  if (isIndexReader) {
    ReadAndSend();
    return;
  }
  if (playing.streamStopped || run.IsOn()) {
    parked.Keep(request);
    return;
  }
  const TZEL3ChunkInfo wanted = request.Record();
  Answer answer = PlanAnswer(wanted);
  RawDataBlock block = MakeAnswerBlock(answer);
  FillAnswer(answer, wanted.time, block.FreshBytes());
  SendData(block);
}

// The file and the header follow the entry found by time, the bytes follow the entry that the
// request names.
CZel3FileReader::Answer CZel3FileReader::PlanAnswer(const TZEL3ChunkInfo& request) {
  Answer answer;
  TZEL3ChunkInfo& found = playing.nextChunk;
  if (!indexer.IndexInfoFromTime(request.time, kAtOrBefore, playing.playForward, &found))
    return answer;
  OpenFileOf(found.indexId);
  FilePosition end = 0;
  answer.headerNeeded = Need_header_for_index(found.indexId, &answer.headerStart, &end);
  if (answer.headerNeeded) answer.headerLength = end - answer.headerStart;
  answer.entryFound = indexer.Index_pos_from_IndexId(request.indexId, &answer.entryStart, &end);
  if (answer.entryFound) answer.entryLength = end - answer.entryStart;
  return answer;
}

void CZel3FileReader::OpenFileOf(IndexId indexId) {
  const std::uint32_t fileNumber = FileNumber(indexId);
  if (fileNumber >= indexer.Files().size()) return;
  const QString path = indexer.Files()[fileNumber].fileName;
  if (!path.isEmpty() && path != archiveFile.Path()) OpenForBytes(path);
}

bool CZel3FileReader::Need_header_for_index(IndexId indexId, FilePosition* headerStart,
                                            FilePosition* headerEnd) {
  *headerStart = indexer.Header_pos_for_index(indexId);
  const IndexId last = playing.lastChunk.indexId;
  const bool sameFile = last != kNoIndexId && FileNumber(last) == FileNumber(indexId);
  if (sameFile && indexer.Header_pos_for_index(last) == *headerStart) return false;
  *headerEnd = indexer.Get_read_size(FileNumber(indexId), headerStart);
  return true;
}

// An answer that is too large, or that cannot be allocated, becomes that of an entry not found.
RawDataBlock CZel3FileReader::MakeAnswerBlock(Answer& answer) {
  if (answer.Fits()) {
    try {
      return RawDataBlock::New(static_cast<std::uint32_t>(answer.Size()));
    } catch (const std::bad_alloc&) {
      // There may still be memory for the small answer below.
    }
  }
  answer = Answer();
  return RawDataBlock::New(static_cast<std::uint32_t>(answer.Size()));
}

// A part of which nothing could be read takes no room, and the next one stands in its place; a part
// that was read only partly keeps its room. What is not written is left uninitialised.
void CZel3FileReader::FillAnswer(const Answer& answer, ArchiveTime time, unsigned char* bytes) {
  const auto read = [&](FilePosition start, std::uint64_t length) {
    return archiveFile.ReadAt(start, bytes, static_cast<std::size_t>(length)) > 0;
  };
  if (answer.headerNeeded && read(answer.headerStart, answer.headerLength)) {
    bytes += answer.headerLength;
  }
  if (!answer.entryFound) {
    bytes = WriteIndexMarker(bytes, time / kArchiveTimePerIndexTime);
  } else if (read(answer.entryStart, answer.entryLength)) {
    bytes += answer.entryLength;
    playing.lastChunk = playing.nextChunk;
  }
  WriteIndexMarker(bytes, 0);
}
