#include "indexer/headers_file.h"

#include <limits>
#include <new>

#include "blocks/units.h"

static_assert(sizeof(quint64) == sizeof(FilePosition));

bool LoadHeaderPositions(PlainFile& file, QVector<quint64>* positions) {
  const std::uint64_t count = file.Size() / sizeof(quint64);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(quint64)) return false;
  try {
    positions->resize(static_cast<int>(count));
  } catch (const std::bad_alloc&) {
    *positions = QVector<quint64>();
    return false;
  }
  const std::size_t got =
      file.Read(positions->data(), static_cast<std::size_t>(count) * sizeof(quint64));
  positions->resize(static_cast<int>(got / sizeof(quint64)));
  return !positions->isEmpty();
}

bool WriteHeaderPositions(PlainFile& file, const QVector<quint64>& positions) {
  return file.Write(positions.constData(),
                    static_cast<std::size_t>(positions.size()) * sizeof(quint64));
}
