#include "client/kept_index.h"

#include <QFile>
#include <QFileInfo>

bool OpenKeptIndex(const std::string& archive, const std::string& cacheFolder,
                   cZel3Indexer* index) {
  const QString file = QFile::decodeName(archive.c_str());
  const qint64 size = QFileInfo(file).size();
  index->cacheFolder = QFile::decodeName(cacheFolder.c_str());
  return size > 0 && index->Open_file(file, static_cast<std::uint64_t>(size) - 1);
}
