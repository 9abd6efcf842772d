#include "client/kept_index.h"

#include <QFile>

#include "sources/reader_path.h"
#include "system/file_status.h"

bool OpenKeptIndex(const std::string& archive, const std::string& cacheFolder,
                   cZel3Indexer* index) {
  const auto status = StatusOf(archive);
  if (!status || status->stx_size == 0) return false;
  const ReaderPath path(archive, ReaderPath::Links::kPassing);
  index->cacheFolder = QFile::decodeName(reader_path::IndexFolderOf(archive, cacheFolder).c_str());
  return index->Open_file(QFile::decodeName(path.Path().c_str()), status->stx_size - 1);
}
