#include "checkup/archive_indexes.h"

#include <fmt/format.h>

#include <QFile>

#include "sources/archive_source.h"
#include "sources/index_place.h"
#include "sources/other_index_places.h"
#include "system/file_status.h"

ArchiveIndexes::ArchiveIndexes(const std::string& archive, const std::string& folder,
                               const ArchiveSize& size)
    : mInUse(CacheOf(archive, folder), size) {
  for (const OtherIndexPlace& place : OtherIndexPlaces(archive, folder))
    LookInto(place.folder, place.whyNot, archive, size);
}

void ArchiveIndexes::LookInto(const std::string& folder, const std::string& whyNot,
                              const std::string& archive, const ArchiveSize& size) {
  const CacheNames names = CacheOf(archive, folder);
  bool isThere = false;
  bool isRead = whyNot.empty();
  for (const QString& name : {names.entries, names.headers, names.events}) {
    const std::string path = QFile::encodeName(name).constData();
    if (!StatusOf(path, Links::kNot)) continue;
    isThere = true;
    const std::string whyNotFile = WhyNotToBeRead(path);
    if (whyNot.empty() && whyNotFile.empty()) continue;
    isRead = false;
    mNotRead.push_back({FindingKind::kOtherIndex, archive_source::FileName(path),
                        fmt::format("lies in {}, {}, and is not read", folder,
                                    whyNot.empty() ? whyNotFile : whyNot)});
  }
  if (!isThere || !isRead) return;
  mOthers.push_back({folder, archive_source::FileName(QFile::encodeName(names.entries).constData()),
                     std::make_unique<CacheCheckup>(names, size)});
}

CacheState ArchiveIndexes::Finish(Findings* findings) {
  const CacheState inUse = mInUse.Finish(findings);
  for (const Finding& finding : mNotRead) findings->Add(finding);
  for (const Other& other : mOthers) {
    Findings found;
    const CacheState state = other.checkup->Finish(&found);
    const std::string text = state == CacheState::kSound ? "is not used" : found.All().front().text;
    findings->Add({FindingKind::kOtherIndex, other.name,
                   fmt::format("lies in {} and {}", other.folder, text)});
  }
  return inUse;
}
