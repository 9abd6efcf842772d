#include <QFile>

#include "plain_file.h"
#include "zel3_file_reader.h"

bool CZel3FileReader::OpenStream(QString const& path) {
  if (file.is_open()) close();
  if (IsNoPlainFile(path)) {
    file.setstate(std::ios::failbit);
    return false;
  }
  file.open(QFile::encodeName(path).constData(), std::ios::in | std::ios::binary);
  if (!file.is_open()) return false;
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  fileSize = size < 0 ? 0 : static_cast<std::uint64_t>(size);
  file.clear();
  file.seekg(0);
  readPos = 0;
  return true;
}

void CZel3FileReader::close() {
  // A stream that cannot close sets its fail state by itself.
  file.close();
}

std::size_t CZel3FileReader::ReadFileAt(std::uint64_t position, void* bytes, std::size_t size) {
  // A read that came up short must not disable the next one. A seek that fails disables this one.
  file.clear();
  file.seekg(static_cast<std::streamoff>(position));
  file.read(static_cast<char*>(bytes), static_cast<std::streamsize>(size));
  return static_cast<std::size_t>(file.gcount());
}

QString const& CZel3FileReader::CurrentPath() const {
  return zel3FilePath.isEmpty() ? zel1FilePath : zel3FilePath;
}

QString CZel3FileReader::CurrentFileName() const {
  const QString& path = CurrentPath();
  return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}
