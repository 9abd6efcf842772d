#include "reader/archive_file.h"

#include "reader/archive_suffix.h"

bool ArchiveFile::Open(const QString& path) {
  const bool isZel3 = IsSameSuffix(SuffixOf(path), QLatin1String("zel3"));
  zel3FilePath = isZel3 ? path : QString();
  zel1FilePath = isZel3 ? QString() : path;

  Close();
  if (!file.Open(path, PlainFile::Mode::kRead)) return false;
  fileSize = file.Size();
  stream = ArchiveStream();
  return true;
}

void ArchiveFile::Close() {
  file.Close();
}

const QString& ArchiveFile::Path() const {
  return IsZel3() ? zel3FilePath : zel1FilePath;
}

QString ArchiveFile::Name() const {
  const QString& path = Path();
  return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

std::size_t ArchiveFile::ReadAt(FilePosition position, void* bytes, std::size_t size) const {
  bool failed = false;
  return file.ReadAt(position, bytes, size, &failed);
}

std::size_t ArchiveFile::ReadNext(unsigned char* bytes, std::size_t size) {
  return stream.Read(file, bytes, size);
}
