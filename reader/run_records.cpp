#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"

int CZel3FileReader::onData(const cMemBlock& block) {
  // The run goes on without a record that is lost, but its index is not kept.
  if (run.IsOn() && !Contain([&] { TakeRecord(block); })) run.SetWhole(false);
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
  if (run.SetPercent(percent)) Send_indexing_progress();
}
