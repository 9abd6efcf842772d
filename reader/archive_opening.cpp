#include <QFileInfo>
#include <algorithm>

#include "blocks/scoped_value.h"
#include "indexer/folder_listing.h"
#include "reader/archive_suffix.h"
#include "reader/zel3_file_reader.h"

namespace {

// Smaller files are never opened.
constexpr std::uint64_t kSmallestArchive = 16;

// The archives of a folder; those of the same time are ordered by name.
std::vector<ListedFile> NewestFirst(const QString& folder) {
  std::vector<ListedFile> archives = ListFolder(folder, {".zel3", ".zel"}, true);
  std::sort(archives.begin(), archives.end(), [](const ListedFile& one, const ListedFile& other) {
    if (one.modified != other.modified) return one.modified > other.modified;
    return DecodedName(one.name) < DecodedName(other.name);
  });
  return archives;
}

// Lets the indexer know that files are opened one after the other.
class FolderScan {
 public:
  explicit FolderScan(cZel3Indexer& indexer) : mIndexer(indexer) { mIndexer.BeginScan(); }
  ~FolderScan() { mIndexer.EndScan(); }
  FolderScan(const FolderScan&) = delete;
  FolderScan& operator=(const FolderScan&) = delete;

 private:
  cZel3Indexer& mIndexer;
};

}  // namespace

int CZel3FileReader::open(const char* path) {
  const QString sourcePath = QString::fromLocal8Bit(path);
  const QFileInfo info(sourcePath);
  bool opened = false;
  if (info.isFile()) {
    opened = Open_file(sourcePath, false);
  } else if (info.isDir()) {
    opened = Open_folder(sourcePath);
  }
  if (!opened) return 0;

  // Looked at only now, because opening may have answered the request already.
  const bool listRequested = source.IsListRequested();
  indexer.ready = true;
  playing.ForgetEntries();
  if (listRequested) OnArchivesEntryRequest();
  return 1;
}

bool CZel3FileReader::Open_folder(const QString& folderPath) {
  source.SetFolder(folderPath);
  const std::vector<ListedFile> archives = NewestFirst(source.Folder().path());
  const bool allOk = Open_files_of_folder(archives);
  if (source.SetAsideCount() >= static_cast<int>(archives.size())) {
    SetNoArchive();
  } else if (source.IsListRequested() && allOk) {
    OnArchivesEntryRequest();
  }
  return allOk;
}

bool CZel3FileReader::Open_files_of_folder(const std::vector<ListedFile>& archives) {
  const FolderScan scan(indexer);
  const QString absolute = source.Folder().absolutePath();
  const QString prefix =
      absolute.endsWith(QLatin1Char('/')) ? absolute : absolute + QLatin1Char('/');
  bool allOk = true;
  QString chosenSuffix;
  for (const ListedFile& archive : archives) {
    const QString name = DecodedName(archive.name);
    if (source.IsSetAside(name)) continue;
    if (archive.size < kSmallestArchive) {
      source.SetAside(name);
      continue;
    }
    // The newest usable file decides which of the two formats the folder is read as.
    if (chosenSuffix.isEmpty()) chosenSuffix = SuffixOf(name);
    if (!IsSameSuffix(SuffixOf(name), chosenSuffix)) continue;

    // After one failure the later files of the scan are set aside too, although those that open are
    // served.
    const bool opened = Open_file(prefix + name, true);
    if (allOk && opened) continue;
    allOk = false;
    if (run.IsOn()) break;
    source.SetAside(name);
  }
  return allOk;
}

bool CZel3FileReader::Open_file(const QString& path, bool headAndTailOnly) {
  if (archiveFile.Open(path)) {
    // An index reader needs no index.
    if (isIndexReader) return true;
    if (indexer.Open_file(path, archiveFile.Size() - 1)) {
      if (source.IsListRequested() && !source.IsFolder()) OnArchivesEntryRequest();
      return true;
    }
    if (!source.HasFailed(path) && !isStartingRun && MakeIndex(path, headAndTailOnly)) return true;
  }
  NoteFailure(path);
  return false;
}

// Makes a quick index where that will do. Otherwise starts an indexing run, and the file is not
// open yet.
bool CZel3FileReader::MakeIndex(const QString& path, bool headAndTailOnly) {
  if (headAndTailOnly) {
    indexer.Open_file_draft(path);
    return Adv_Read_head_and_tail_index();
  }
  const ScopedValue<bool> starting(isStartingRun, true);
  bool hasBegun = false;
  Start_make_index(QString(), &hasBegun);
  if (!hasBegun) SetNoArchive();
  return false;
}

// For the bytes of the file only: neither its cache nor its index is touched.
void CZel3FileReader::OpenForBytes(const QString& path) {
  if (!archiveFile.Open(path)) NoteFailure(path);
}

// The first failure of a file is only noted; a repeated one of a single file is reported.
void CZel3FileReader::NoteFailure(const QString& path) {
  if (!source.NoteFailure(path) && !source.IsFolder()) SetNoArchive();
}

void CZel3FileReader::SetNoArchive() {
  source.SetNoArchive();
  if (source.IsListRequested()) Send_No_archive_warning();
}
