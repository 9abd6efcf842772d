#include <cstring>

#include "zel3_file_reader.h"

namespace {

// Ends a child brick. It may be short of memory, and nothing may be thrown while the reader is
// destroyed.
void Kill(CBrick*& child) {
  if (child == nullptr) return;
  try {
    child->enqueueControl(KillBlock::New());
  } catch (...) {
    // The child then stays until the host ends.
  }
  child = nullptr;
}

// A text field of the creation record; one without NUL ends one byte before the field does.
QByteArray FieldText(const char (&field)[261]) {
  return QByteArray(field, static_cast<int>(strnlen(field, sizeof(field) - 1)));
}

}  // namespace

CZel3FileReader::CZel3FileReader() : folder(QString()) {}

int CZel3FileReader::onCreate(TBrickConfig const& creationConfig) {
  try {
    config = creationConfig;
    config.name[sizeof(config.name) - 1] = 0;
    indexer.cacheFolder = QString::fromLatin1(FieldText(config.cacheFolder));
    return open(SourcePath().constData());
  } catch (...) {
    return 0;
  }
}

QByteArray CZel3FileReader::SourcePath() const {
  return FieldText(config.sourcePath);
}

CZel3FileReader::~CZel3FileReader() {
  close();
  Kill(indexReader);
  Kill(indexParser);
  Kill(previewParser);
}
