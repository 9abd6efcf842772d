#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"

namespace {

// Every message of the reader carries this value.
constexpr std::int32_t kMessageValue = 6;

}  // namespace

void CZel3FileReader::Send_indexing_progress() {
  if (isIndexReader) return;
  SendProgress(run.Percent());
}

// Progress that cannot be allocated is not told: no run fails because of that.
void CZel3FileReader::SendProgress(std::uint32_t percent) {
  Contain([&] {
    const QString detail = archiveFile.Path().isEmpty()
                               ? QString(QLatin1String("indexing ZEL3 file..."))
                               : archiveFile.Name();
    SendMessage(tag::kLevelWarning, tag::kCodeProgress, std::to_string(percent) + "%", detail);
  });
}

void CZel3FileReader::SendRunEnded() {
  SendMessage(tag::kLevelRunEnded, 0, std::string(), QString());
}

void CZel3FileReader::SendMessage(Tag level, Tag code, const std::string& text,
                                  const QString& detail) {
  auto message = MessageBlock::New();
  TNotifyMessage& record = message.Record();
  record.sender = GetSignature();
  record.level = level;
  record.code = code;
  record.value = kMessageValue;
  record.text = text;
  record.detail = detail.toLocal8Bit().constData();
  SendData(message);
}
