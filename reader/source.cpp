#include "reader/source.h"

void Source::SetFolder(const QString& path) {
  folderMode = true;
  folder.setPath(path);
}

bool Source::NoteFailure(const QString& path) {
  if (HasFailed(path)) return false;
  failedFiles.insert(path);
  return true;
}
