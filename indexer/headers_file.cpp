#include "indexer/headers_file.h"

#include <limits>
#include <new>

bool LoadHeaderPositions(PlainFile& file, QVector<FilePosition>* positions) {
  const std::uint64_t count = file.Size() / sizeof(FilePosition);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(FilePosition)) return false;
  try {
    positions->resize(static_cast<int>(count));
  } catch (const std::bad_alloc&) {
    *positions = QVector<FilePosition>();
    return false;
  }
  const std::size_t got =
      file.Read(positions->data(), static_cast<std::size_t>(count) * sizeof(FilePosition));
  positions->resize(static_cast<int>(got / sizeof(FilePosition)));
  return !positions->isEmpty();
}

bool WriteHeaderPositions(PlainFile& file, const QVector<FilePosition>& positions) {
  return file.Write(positions.constData(),
                    static_cast<std::size_t>(positions.size()) * sizeof(FilePosition));
}
