#include "reader/zel3_file_reader.h"

void CZel3FileReader::OnArchivesEntryRequest() {
  if (source.HasNoArchive()) {
    Send_No_archive_warning();
    return;
  }
  if (!indexer.Is_ready()) {
    source.RequestList();
    return;
  }
  const std::size_t count = indexer.Files().size();
  auto answer = ArchivesBlock::New(
      static_cast<std::uint32_t>(sizeof(TArchivesInfo) + count * sizeof(TArchiveEntry)));
  TArchivesInfo& info = answer.Record();
  info.count = static_cast<std::uint32_t>(count);
  const QString path = source.IsFolder() ? source.Folder().canonicalPath() : archiveFile.Path();
  info.source = path.toLocal8Bit().constData();
  for (std::uint32_t i = 0; i < info.count; ++i) {
    TArchiveEntry& entry = info.Archives()[i];
    entry.startTime = ToArchiveTime(indexer.Files()[i].startTime);
    entry.endTime = ToArchiveTime(indexer.Files()[i].endTime);
    entry.fileNumber = i;
    entry.reserved = 0;
    indexer.FillFileStreamMap(i, entry.streamMap);
  }
  const std::weak_ptr<const void> watch = life.Watch();
  SendCmd(answer);
  if (!watch.expired()) source.ForgetListRequest();
}

void CZel3FileReader::Send_No_archive_warning() {
  const QString detail = source.IsFolder() ? source.Folder().canonicalPath() : archiveFile.Name();
  SendMessage(tag::kLevelError, tag::kCodeNoArchive, "No archive in", detail);
}
