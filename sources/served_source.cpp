#include "sources/served_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <cstring>
#include <map>
#include <new>
#include <utility>

#include "indexer/cache_housekeeping.h"
#include "sources/archive_source.h"
#include "sources/cache_folder.h"
#include "sources/index_lock.h"
#include "sources/private_cache.h"
#include "sources/shared_fallback.h"
#include "system/failure.h"

ServedSource::ServedSource(const HostOptions& host, const std::string& path, MissingIndexes missing,
                           OnNotice onNotice)
    : ServedSource(host, GivenSourceAt(path), missing, std::move(onNotice)) {}

ServedSource::ServedSource(const HostOptions& host, const GivenSource& source,
                           MissingIndexes missing, OnNotice onNotice)
    : mHost(host), mMissing(missing), mOnNotice(std::move(onNotice)), mFacts(Look(source)) {
  RefuseOthers();
  shared_fallback::Forbid();
  if (missing == MissingIndexes::kLeaveOut) return;
  for (const std::string& archive : mFacts.Archives()) WaitForOthers(archive);
  MakePlaces();
}

HostOptions ServedSource::HostFor(const std::string& archive) const {
  HostOptions host = mHost;
  host.cacheFolder = mFacts.IndexFolderOf(archive);
  return host;
}

bool ServedSource::WaitForOthers(const std::string& archive) const {
  if (mFacts.Known(archive)) return false;
  return index_lock::WaitForOthers(archive, mFacts.IndexFolderOf(archive), mOnNotice);
}

// An index that another user's process is about to finish beside an archive can be used where none
// could be written.
SourceFacts ServedSource::Look(const GivenSource& source) const {
  SourceFacts facts(mHost, source);
  bool waited = false;
  for (const std::string& archive : facts.Archives()) {
    const bool mayWait = mMissing == MissingIndexes::kBuild && facts.PlaceOf(archive).isPrivate;
    if (mayWait) waited = index_lock::WaitForOthers(archive, "", mOnNotice) || waited;
  }
  return waited ? SourceFacts(mHost, source) : facts;
}

void ServedSource::RefuseOthers() const {
  for (const auto& [path, why] : mFacts.Others()) {
    const std::string sentence = mFacts.NameOf(path) + " " + why;
    if (!mFacts.IsFolder()) throw Failure(sentence);
    mOnNotice(sentence + "; it is left out");
  }
}

// Makes the places that missing indexes need.
void ServedSource::MakePlaces() {
  for (const std::string& archive : mFacts.Archives()) {
    const IndexPlace& place = mFacts.PlaceOf(archive);
    if (place.folder.empty() || mFacts.Known(archive) || mFacts.HasIndex(archive)) continue;
    if (place.isPrivate) {
      mFacts.MoveIndexOf(archive, MakePrivateFolder(archive, place.whyNotBeside));
    } else if (!cache_folder::Make(place.folder) ||
               faccessat(AT_FDCWD, place.folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
      throw Failure("cannot write the cache folder " + place.folder + ": " + std::strerror(errno));
    }
  }
}

void ServedSource::DropIndex(const std::string& archive, bool privately) {
  mFacts.Forget(archive);
  bool isGone = true;
  const CacheNames names = mFacts.CacheOf(archive);
  for (const QString& name : {names.events, names.entries, names.headers})
    isGone = (QFile::remove(name) || !QFile::exists(name)) && isGone;
  if (privately || !isGone) IndexPrivately(archive);
}

void ServedSource::DropIndexes() {
  for (const std::string& archive : mFacts.Archives()) {
    if (mFacts.HasIndex(archive)) DropIndex(archive, false);
  }
}

void ServedSource::IndexPrivately(const std::string& archive) {
  const std::string folder = mFacts.IndexFolderOf(archive);
  const std::string privateFolder =
      MakePrivateFolder(archive, "the archive is still being written");
  if (folder == privateFolder) return;
  mFacts.MoveIndexOf(archive, privateFolder);
  if (mFacts.HasIndex(archive)) DropIndex(archive, false);
}

ServedSource::OneScan::OneScan(ServedSource* source, std::vector<std::string> archives)
    : mSource(*source), mArchives(std::move(archives)) {
  mSource.mHost.limitsIndexes = false;
}

ServedSource::OneScan::~OneScan() {
  mSource.mHost.limitsIndexes = true;
  try {
    Trim();
  } catch (const std::bad_alloc&) {
    // Left to the next process that indexes there.
  }
}

void ServedSource::OneScan::Trim() const {
  constexpr int kFilesOfAnIndex = 3;
  std::map<std::string, int> filesMade;
  for (const std::string& archive : mArchives)
    filesMade[mSource.mFacts.IndexFolderOf(archive)] += kFilesOfAnIndex;
  const HostSettings settings = SettingsOf(mSource.mHost);
  const SettingsInForce inForce(settings);
  for (const auto& [folder, count] : filesMade) {
    if (folder.empty()) continue;
    CacheHousekeeping housekeeping(QFile::decodeName(folder.c_str()));
    for (int i = 0; i < count; ++i) housekeeping.Trim();
  }
}

std::string ServedSource::MakePrivateFolder(const std::string& archive,
                                            const std::string& whyNotBeside) {
  private_cache::Place place = PrivatePlaceOf(archive);
  if (private_cache::Prepare(&place)) return place.path;
  if (!mPassingPlace) {
    mPassingPlace.emplace(shared_fallback::TemporaryFolder());
    if (!cache_folder::CanBeNamed(mPassingPlace->Path()))
      throw Failure("there is no folder for indexes: " + place.whyNot);
    mOnNotice("the index is not kept: " + whyNotBeside + ", and " + place.whyNot);
  }
  return mPassingPlace->Path();
}
