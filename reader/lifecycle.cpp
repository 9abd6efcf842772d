#include <cstring>

#include "blocks/cancellation_hold.h"
#include "blocks/contain.h"
#include "reader/zel3_file_reader.h"

namespace {

// A text field of the creation record; a text without a NUL ends one byte before the field does.
QByteArray FieldText(const char (&field)[261]) {
  return QByteArray(field, static_cast<int>(strnlen(field, sizeof(field) - 1)));
}

}  // namespace

CZel3FileReader::CZel3FileReader() = default;

int CZel3FileReader::onCreate(const TBrickConfig& creationConfig) {
  int opened = 0;
  Contain([&] {
    config = creationConfig;
    config.name[sizeof(config.name) - 1] = 0;
    indexer.cacheFolder = QString(QLatin1String(FieldText(config.cacheFolder).constData()));
    opened = open(SourcePath().constData());
  });
  return opened;
}

void CZel3FileReader::close() {
  archiveFile.Close();
}

QByteArray CZel3FileReader::SourcePath() const {
  return FieldText(config.sourcePath);
}

CZel3FileReader::~CZel3FileReader() {
  const CancellationHold hold;
  close();
  children.EndAll();
}
