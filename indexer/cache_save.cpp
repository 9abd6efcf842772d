#include <QFileInfo>
#include <algorithm>
#include <cstdio>
#include <new>

#include "plain_file.h"
#include "temporary_folder.h"
#include "zel3_indexer.h"

namespace {

template <class Item>
bool WriteItems(QFile& file, const QVector<Item>& items) {
  const qint64 size = qint64{items.size()} * qint64{sizeof(Item)};
  return file.write(reinterpret_cast<const char*>(items.constData()), size) == size;
}

template <class Integer>
bool WriteInteger(QFile& file, Integer value) {
  return file.write(reinterpret_cast<const char*>(&value), sizeof(value)) == qint64{sizeof(value)};
}

bool WriteEvent(QFile& file, const EVT_FILE_EVENT_T& event) {
  const qint64 sizeWithNul = static_cast<qint64>(event.text.size()) + 1;
  return WriteInteger(file, event.eventType) &&
         file.write(event.text.c_str(), sizeWithNul) == sizeWithNul;
}

// The count is written as it is held: it wraps after 255, and then fewer events follow than the
// group has.
bool WriteGroup(QFile& file, const EVT_FILE_DATA_T& group) {
  bool written = WriteInteger(file, group.time) && WriteInteger(file, group.offsetLow) &&
                 WriteInteger(file, group.eventCount);
  const int count = std::min<int>(group.eventCount, group.events.size());
  for (int i = 0; written && i < count; ++i) written = WriteEvent(file, group.events.at(i));
  return written;
}

// What a file was given is on the disk before another file is made to count on it. A disk may be
// found full as late as here.
bool FlushAndClose(QFile& file) {
  const bool flushed = file.flush() && WaitForDisk(file);
  file.close();
  return flushed && file.error() == QFileDevice::NoError;
}

// A name beside the .evt file that the housekeeping of the cache folder takes for an .evt file too.
QString UnfinishedName(const QString& evtFileName) {
  return evtFileName + QLatin1String(".unfinished.evt");
}

// Nothing counts as a cache without its .evt file: that one goes before the others are emptied, so
// that a kill in between does not leave half of an older cache. A file that cannot be written
// stays, and so does a link: what it leads to is written in place.
void RemoveWritable(const QString& evtFileName) {
  QFile events;
  if (QFileInfo(evtFileName).isSymLink()) return;
  if (!OpenPlainFile(events, evtFileName, QIODevice::WriteOnly | QIODevice::Append)) return;
  QFile::remove(evtFileName);
}

bool RenameFile(const QString& from, const QString& to) {
  return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

}  // namespace

bool cZel3Indexer::Reopen_for_write() {
  CloseCacheFiles();
  if (OpenCacheFilesForWrite()) return true;
  CloseCacheFiles();
  const QString temporary = TemporaryFolder();
  if (temporary.isEmpty()) return false;
  cacheFolder = temporary;
  Check_ID3_cache_folder();
  Make_cached_index_file_names(currentFilePath);
  return OpenCacheFilesForWrite();
}

bool cZel3Indexer::OpenForWrite(QFile& file, const QString& name) {
  // An archive may have the very name of a cache file; it is never opened for writing.
  return !IsSameFile(name, currentFilePath) && OpenPlainFile(file, name, QIODevice::WriteOnly);
}

bool cZel3Indexer::OpenCacheFilesForWrite() {
  // Where one of the names is taken by the archive, none of them is used: the archive would be
  // read as a part of its own cache.
  for (const QString& name : {hdrFileName, id3FileName, evtFileName}) {
    if (IsSameFile(name, currentFilePath)) return false;
  }
  RemoveWritable(evtFileName);
  // All three are tried, whatever becomes of the others.
  const bool headersOpen = OpenForWrite(hdrFile, hdrFileName);
  const bool recordsOpen = OpenForWrite(id3File, id3FileName);
  const bool eventsOpen = OpenForWrite(evtFile, evtFileName);
  return headersOpen && recordsOpen && eventsOpen;
}

void cZel3Indexer::Save_files() {
  if (!Reopen_for_write()) return;
  // A cache counts only with its .evt file, so that one comes last and whole: without it, whatever
  // else is there is indexed again.
  const QString unfinishedName = UnfinishedName(evtFileName);
  QFile unfinished;
  const bool apart = !QFileInfo(evtFileName).isSymLink() &&
                     OpenForWrite(unfinished, unfinishedName) && QFile::remove(evtFileName);
  if (apart) {
    evtFile.close();
    if (WriteCacheFiles(unfinished) && RenameFile(unfinishedName, evtFileName)) return;
  } else {
    // The .evt file is a link or cannot be replaced, or no file can be made under the other name:
    // the best left is to write in place, and to empty the files after a failure.
    if (!WriteCacheFiles(evtFile)) {
      for (const QString& name : {hdrFileName, id3FileName, evtFileName}) QFile::resize(name, 0);
    }
    if (!unfinished.isOpen()) return;
  }
  unfinished.remove();
}

bool cZel3Indexer::WriteCacheFiles(QFile& events) {
  bool written = false;
  try {
    written = WriteCurrent(events);
  } catch (const std::bad_alloc&) {
    // As good as not written.
  }
  // All three are closed, whatever has failed.
  const bool headersClosed = FlushAndClose(hdrFile);
  const bool recordsClosed = FlushAndClose(id3File);
  const bool eventsClosed = FlushAndClose(events);
  return written && headersClosed && recordsClosed && eventsClosed;
}

bool cZel3Indexer::WriteCurrent(QFile& events) {
  bool written = WriteItems(hdrFile, current.headerPositions);
  if (pendingId3RecValid) {
    current.id3Records.append(pendingId3Rec);
    current.startTime = std::min(current.startTime, pendingId3Rec.time);
    current.endTime = std::max(current.endTime, pendingId3Rec.time);
    pendingId3RecValid = false;
  }
  written = WriteItems(id3File, current.id3Records) && written;
  const QList<EVT_FILE_DATA_T>& groups = current.events;
  for (const EVT_FILE_DATA_T& group : groups) written = written && WriteGroup(events, group);
  return written;
}
