#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstdio>
#include <new>

#include "cache_names.h"
#include "temporary_folder.h"
#include "zel3_indexer.h"

namespace {

template <class Item>
bool WriteItems(PlainFile& file, const QVector<Item>& items) {
  return file.Write(items.constData(), static_cast<std::size_t>(items.size()) * sizeof(Item));
}

template <class Integer>
bool WriteInteger(PlainFile& file, Integer value) {
  return file.Write(&value, sizeof(value));
}

bool WriteEvent(PlainFile& file, const EVT_FILE_EVENT_T& event) {
  return WriteInteger(file, event.eventType) &&
         file.Write(event.text.c_str(), event.text.size() + 1);
}

// The count is written as it is held: it wraps after 255, and then fewer events follow than the
// group has.
bool WriteGroup(PlainFile& file, const EVT_FILE_DATA_T& group) {
  bool written = WriteInteger(file, group.time) && WriteInteger(file, group.offsetLow) &&
                 WriteInteger(file, group.eventCount);
  const int count = std::min<int>(group.eventCount, group.events.size());
  for (int i = 0; written && i < count; ++i) written = WriteEvent(file, group.events.at(i));
  return written;
}

// Nothing counts as a cache without its .evt file: that one goes before the others are emptied, so
// that a kill in between does not leave half of an older cache. A file that cannot be written
// stays, and so does a link: what it leads to is written in place.
void RemoveWritable(const QString& evtFileName) {
  PlainFile events;
  if (QFileInfo(evtFileName).isSymLink()) return;
  if (events.Open(evtFileName, PlainFile::Mode::kUpdate)) QFile::remove(evtFileName);
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

bool cZel3Indexer::OpenForWrite(PlainFile& file, const QString& name) {
  // An archive may have the very name of a cache file; it is never opened for writing.
  return !IsSameFile(name, currentFilePath) && file.Open(name, PlainFile::Mode::kEmpty);
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
  PlainFile unfinished;
  const bool apart = !QFileInfo(evtFileName).isSymLink() &&
                     OpenForWrite(unfinished, unfinishedName) && QFile::remove(evtFileName);
  if (apart) {
    evtFile.Close();
    if (WriteCacheFiles(unfinished) && RenameFile(unfinishedName, evtFileName)) return;
  } else {
    // The .evt file is a link or cannot be replaced, or no file can be made under the other name:
    // the best left is to write in place, and to empty the files after a failure.
    if (!WriteCacheFiles(evtFile)) {
      for (const QString& name : {hdrFileName, id3FileName, evtFileName}) QFile::resize(name, 0);
    }
    if (!unfinished.IsOpen()) return;
  }
  QFile::remove(unfinishedName);
}

bool cZel3Indexer::WriteCacheFiles(PlainFile& events) {
  bool written = false;
  try {
    written = WriteCurrent(events);
  } catch (const std::bad_alloc&) {
    // As good as not written.
  }
  // All three are on the disk before one of them is made to count on the others, and closed,
  // whatever has failed.
  const bool headersSaved = hdrFile.SaveAndClose();
  const bool recordsSaved = id3File.SaveAndClose();
  const bool eventsSaved = events.SaveAndClose();
  return written && headersSaved && recordsSaved && eventsSaved;
}

bool cZel3Indexer::WriteCurrent(PlainFile& events) {
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
