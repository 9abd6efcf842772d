#include "indexer/cache_claim.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <initializer_list>
#include <utility>

#include "indexer/cache_rights.h"
#include "indexer/folder_of_files.h"

namespace {

// How many names are tried for a new file before giving up.
constexpr int kUnfinishedNames = 10;

bool Look(const QString& path, int flags, struct statx* status) {
  return statx(AT_FDCWD, QFile::encodeName(path).constData(), flags, STATX_TYPE | STATX_NLINK,
               status) == 0;
}

bool IsPresent(const QString& path) {
  struct statx status;
  return Look(path, AT_SYMLINK_NOFOLLOW, &status) || errno != ENOENT;
}

// Then what is written to the file shows under no other name.
bool HasOneName(const QString& path) {
  struct statx status;
  return Look(path, AT_SYMLINK_NOFOLLOW, &status) && S_ISREG(status.stx_mode) &&
         status.stx_nlink == 1;
}

// Only plain files are opened to try: opening a device could set it to work.
bool IsWritableFile(const QString& path) {
  struct statx status;
  return Look(path, 0, &status) && S_ISREG(status.stx_mode) &&
         PlainFile().Open(path, PlainFile::Mode::kUpdate);
}

// Also true when nothing has the name.
bool Remove(const QByteArray& path) {
  return unlink(path.constData()) == 0 || errno == ENOENT;
}
bool Remove(const QString& path) {
  return Remove(QFile::encodeName(path));
}

bool Rename(const QByteArray& from, const QString& to) {
  return std::rename(from.constData(), QFile::encodeName(to).constData()) == 0;
}

using Files = std::initializer_list<PlainFile*>;

bool BeginSaving(const Files& files) {
  return std::all_of(files.begin(), files.end(),
                     [](PlainFile* file) { return file->BeginSaving(); });
}

bool SaveAndClose(const Files& files) {
  return std::all_of(files.begin(), files.end(),
                     [](PlainFile* file) { return file->SaveAndClose(); });
}

}  // namespace

// The files that are to replace those of the cache. Those that have not done so are removed at the
// end.
struct CacheClaim::NewFiles {
  NewFiles() = default;
  ~NewFiles() {
    for (const QByteArray* const name : {&headersName, &entriesName, &eventsName}) {
      if (!name->isEmpty()) Remove(*name);
    }
  }
  NewFiles(const NewFiles&) = delete;
  NewFiles& operator=(const NewFiles&) = delete;

  bool Make(const CacheFileNames& names, const CacheRights& rights, bool alone) {
    return MakeOne(names.headers, rights, alone, &headersName, &headers) &&
           MakeOne(names.entries, rights, alone, &entriesName, &entries) &&
           MakeOne(names.events, rights, alone, &eventsName, &events);
  }

  // Encoded, so that removing them needs no memory.
  QByteArray headersName;
  QByteArray entriesName;
  QByteArray eventsName;
  PlainFile headers;
  PlainFile entries;
  PlainFile events;

 private:
  // `alone`: nobody else makes such files, so one that is there was left behind by a killed run.
  // Otherwise each process uses its own names.
  static bool MakeOne(const QString& name, const CacheRights& rights, bool alone,
                      QByteArray* madeName, PlainFile* file) {
    const int first = alone ? 0 : getpid();
    for (int number = first; number < first + kUnfinishedNames; ++number) {
      const QString unfinished = UnfinishedName(name, number);
      QByteArray encoded = QFile::encodeName(unfinished);
      if (alone) Remove(encoded);
      if (!rights.Make(unfinished, file)) continue;
      madeName->swap(encoded);
      return true;
    }
    return false;
  }
};

CacheClaim::Answer CacheClaim::Take(const CacheFileNames& names, const QString& archive) {
  const bool same = names.entries == mNames.entries && archive == mArchive;
  if (same && mLock.IsHeldAt(mNames.entries)) return Answer::kGiven;
  Release();
  mNames = names;
  mArchive = archive;
  Answer answer = TestNames();
  if (answer == Answer::kGiven) answer = LockEntries();
  if (answer == Answer::kGiven && mInPlace && !EmptyFiles()) answer = Answer::kRefused;
  if (answer == Answer::kGiven && !mInPlace) answer = MakeFiles();
  if (answer != Answer::kGiven) Release();
  return answer;
}

CacheClaim::Answer CacheClaim::TestNames() {
  mInPlace = !MayMakeFilesBeside(mNames.entries);
  bool oneNameEach = true;
  for (const QString& name : {mNames.events, mNames.headers, mNames.entries}) {
    if (!MayBeReplaced(name)) return Answer::kRefused;
    mInPlace = mInPlace || !MayRemove(name);
    oneNameEach = oneNameEach && HasOneName(name);
  }
  return mInPlace && !oneNameEach ? Answer::kRefused : Answer::kGiven;
}

// An archive may have the very name of a cache file; it is never opened for writing.
bool CacheClaim::MayBeReplaced(const QString& name) const {
  return !IsSameFile(name, mArchive) && (!IsPresent(name) || IsWritableFile(name));
}

CacheClaim::Answer CacheClaim::LockEntries() {
  PlainFile entries;
  // A link is not locked: it may lead to anybody's file.
  if (!HasOneName(mNames.entries) || !entries.Open(mNames.entries, PlainFile::Mode::kUpdate))
    return Answer::kGiven;
  // When the name is that of another file by now, another run has replaced it.
  const bool locked = mLock.Take(entries) && mLock.IsHeldAt(mNames.entries);
  return locked ? Answer::kGiven : Answer::kHeldByAnother;
}

CacheClaim::Answer CacheClaim::MakeFiles() {
  for (const QString& name : {mNames.events, mNames.headers, mNames.entries}) {
    if (!Remove(name)) return Answer::kRefused;
  }
  const CacheRights rights(mArchive);
  PlainFile entries;
  if (!rights.Make(mNames.entries, &entries)) {
    // Another run may have come first.
    return IsPresent(mNames.entries) ? Answer::kHeldByAnother : Answer::kRefused;
  }
  FileLock lock;
  if (!lock.Take(entries) || !lock.IsHeldAt(mNames.entries)) return Answer::kHeldByAnother;
  // Until here, the lock on the file just removed has been held.
  mLock = std::move(lock);

  PlainFile headers;
  PlainFile events;
  const bool headersMade = rights.Make(mNames.headers, &headers);
  if (headersMade && rights.Make(mNames.events, &events)) return Answer::kGiven;
  if (headersMade) Remove(mNames.headers);
  Remove(mNames.entries);
  return Answer::kRefused;
}

bool CacheClaim::EmptyFiles() const {
  bool emptied = true;
  for (const QString& name : {mNames.events, mNames.headers, mNames.entries}) {
    PlainFile file;
    emptied = file.Open(name, PlainFile::Mode::kUpdate) && file.Empty() && emptied;
  }
  return emptied;
}

bool CacheClaim::Save(const Write& write) {
  const bool saved = mInPlace ? SaveInPlace(write) : SaveAnew(write);
  Release();
  return saved;
}

bool CacheClaim::SaveInPlace(const Write& write) const {
  PlainFile headers;
  PlainFile entries;
  PlainFile events;
  if (!headers.Open(mNames.headers, PlainFile::Mode::kUpdate) ||
      !entries.Open(mNames.entries, PlainFile::Mode::kUpdate) ||
      !events.Open(mNames.events, PlainFile::Mode::kUpdate)) {
    return false;
  }
  const bool saved = write(headers, entries, events) && SaveAndClose({&headers, &entries, &events});
  if (!saved) EmptyFiles();
  return saved;
}

bool CacheClaim::SaveAnew(const Write& write) {
  NewFiles unfinished;
  if (!unfinished.Make(mNames, CacheRights(mArchive), mLock.IsExclusive())) return false;
  // Locked before it gets its name, so that the name is never without a lock.
  FileLock lock;
  if (!lock.Take(unfinished.entries)) return false;
  const Files files = {&unfinished.headers, &unfinished.entries, &unfinished.events};
  return write(unfinished.headers, unfinished.entries, unfinished.events) && BeginSaving(files) &&
         SaveAndClose(files) && PutInPlace(unfinished);
}

bool CacheClaim::PutInPlace(const NewFiles& unfinished) const {
  return Remove(mNames.events) && SyncFolderOf(mNames.events) &&
         Rename(unfinished.headersName, mNames.headers) &&
         Rename(unfinished.entriesName, mNames.entries) && SyncFolderOf(mNames.entries) &&
         Rename(unfinished.eventsName, mNames.events);
}
