#pragma once

#include <QDir>
#include <QSet>
#include <QString>

// What the creation record names, a file or a folder of them, and what is known of it.
//
// What is known is never taken back: a folder stays one, a file that has failed or been set aside
// stays so, and a source without a usable archive too. Only the request for the list of archives
// comes and goes.
class Source {
 public:
  // The source is the folder at `path`.
  void SetFolder(const QString& path);
  bool IsFolder() const { return folderMode; }
  // REQUIRES: the source is a folder.
  const QDir& Folder() const { return folder; }

  // Notes that a file could not be opened, by its full path. False when that was already known.
  bool NoteFailure(const QString& path);
  bool HasFailed(const QString& path) const { return failedFiles.contains(path); }

  // Sets an entry of the folder aside, by its bare name: it is not opened any more.
  void SetAside(const QString& name) { folderFiles.insert(name); }
  bool IsSetAside(const QString& name) const { return folderFiles.contains(name); }
  int SetAsideCount() const { return folderFiles.size(); }

  // There is no usable archive: the list of archives is refused. Times are still looked up and
  // served.
  void SetNoArchive() { noArchive = true; }
  bool HasNoArchive() const { return noArchive; }

  // The list of archives is to be sent as soon as there is one.
  void RequestList() { archivesRequestPending = true; }
  bool IsListRequested() const { return archivesRequestPending; }
  void ForgetListRequest() { archivesRequestPending = false; }

 private:
  QDir folder{QString()};
  QSet<QString> failedFiles;  // full paths of files that failed once
  QSet<QString> folderFiles;  // bare names of folder entries set aside
  bool folderMode = false;
  bool noArchive = false;
  bool archivesRequestPending = false;
};
