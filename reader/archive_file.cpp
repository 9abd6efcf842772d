#include "reader/zel3_file_reader.h"

bool CZel3FileReader::OpenStream(const QString& path) {
  close();
  if (!file.Open(path, PlainFile::Mode::kRead)) return false;
  fileSize = file.Size();
  stream = ArchiveStream();
  return true;
}

void CZel3FileReader::close() {
  file.Close();
}

std::size_t CZel3FileReader::ReadFileAt(FilePosition position, void* bytes, std::size_t size) {
  // A read that comes up short does not disable the next one.
  bool failed = false;
  return file.ReadAt(position, bytes, size, &failed);
}

const QString& CZel3FileReader::CurrentPath() const {
  return zel3FilePath.isEmpty() ? zel1FilePath : zel3FilePath;
}

QString CZel3FileReader::CurrentFileName() const {
  const QString& path = CurrentPath();
  return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}
