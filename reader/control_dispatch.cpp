#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"

// A request that fails for lack of memory is dropped; clients ask again. Nobody asks an index
// reader again, so it tries more than once.
int CZel3FileReader::onCtrl(cMemBlock& block) {
  if (run.IsPullMissed()) PullNextBlock();
  const auto dispatch = [&] { Dispatch(block); };
  isIndexReader ? TryAFewTimes(dispatch) : Contain(dispatch);
  return 1;
}

// A block too small for its record is ignored.
void CZel3FileReader::Dispatch(const cMemBlock& block) {
  switch (block.GetType()) {
    case tag::kParserChunkRequest: {
      const auto request = ParserChunkRequestBlock::View(block);
      if (!request.HoldsRecord()) break;
      if (request.Record().preview != 0) {
        OnParserPreviewRequest(request);
      } else {
        OnParserChunkRequest(request);
      }
      break;
    }
    case tag::kPlay: {
      const auto command = PlayBlock::View(block);
      if (command.HoldsRecord()) OnPlayCmd(command);
      break;
    }
    case tag::kChunkRequest: {
      const auto request = ChunkRequestBlock::View(block);
      if (request.HoldsRecord()) OnChunkRequest(request);
      break;
    }
    case tag::kActivityRequest: {
      const auto request = ActivityRequestBlock::View(block);
      if (request.HoldsRecord() && request.MarkHandledBy(this)) OnCmdGetActivity(request);
      break;
    }
    case tag::kPreviewRequest: {
      const auto request = PreviewRequestBlock::View(block);
      if (request.HoldsRecord() && request.MarkHandledBy(this)) OnCmdGetPreview(request);
      break;
    }
    case tag::kArchivesRequest:
      OnArchivesEntryRequest();
      break;
    case tag::kDataTick:
      OnDataTick();
      break;
    default:
      break;
  }
}

void CZel3FileReader::OnDataTick() {
  if (run.IsOn()) {
    Send_indexing_progress();
  } else {
    ReadAndSend();
  }
}
