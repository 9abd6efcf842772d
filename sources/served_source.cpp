#include "sources/served_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "sources/archive_source.h"
#include "sources/cache_folder.h"
#include "sources/cache_limit.h"
#include "sources/index_lock.h"
#include "sources/nowhere.h"
#include "sources/private_cache.h"
#include "sources/shared_fallback.h"
#include "system/failure.h"

namespace {

std::string AsSentence(const std::string& path, const std::string& clause) {
  return archive_source::FileName(path) + " " + clause;
}

}  // namespace

ServedSource::ServedSource(const HostOptions& host, const std::string& path, MissingIndexes missing,
                           OnNotice onNotice)
    : mHost(host), mMissing(missing), mOnNotice(std::move(onNotice)), mFacts(Look(path)) {
  RefuseOthers();
  shared_fallback::Forbid();
  if (missing == MissingIndexes::kLeaveOut) {
    RefuseToTrim();
  } else {
    WaitForOthers();
    MakePlace();
  }
}

HostOptions ServedSource::Host() const {
  HostOptions host = mHost;
  host.cacheFolder = mFacts.Indexes().folder;
  // A reader that uses a cache folder writes its default limit into settings that have none.
  const bool writesSettings = mMissing == MissingIndexes::kLeaveOut && !host.cacheFolder.empty() &&
                              !cache_limit::IsSet(host.settingsFolder);
  if (writesSettings) host.settingsFolder = kNowhere;
  return host;
}

bool ServedSource::WaitForOthers() const {
  return index_lock::WaitForOthers(mFacts.Archives(), mFacts.Indexes().folder, mOnNotice);
}

bool ServedSource::WaitForOthers(const std::string& archive) const {
  return index_lock::WaitForOthers(archive, mFacts.Indexes().folder, mOnNotice);
}

// An index that another user's process is about to finish beside an archive can be used where none
// could be written.
SourceFacts ServedSource::Look(const std::string& path) const {
  SourceFacts facts(mHost, path);
  const bool mayWait = mMissing == MissingIndexes::kBuild && facts.Indexes().isPrivate;
  const bool waited = mayWait && index_lock::WaitForOthers(facts.Archives(), "", mOnNotice);
  return waited ? SourceFacts(mHost, path) : facts;
}

void ServedSource::RefuseOthers() const {
  for (const auto& [path, why] : mFacts.Others()) {
    const std::string sentence = AsSentence(path, why);
    if (!mFacts.IsFolder()) throw Failure(sentence);
    mOnNotice(sentence + "; it is left out");
  }
}

void ServedSource::RefuseToTrim() const {
  const std::string& folder = mFacts.Indexes().folder;
  if (folder.empty() || !cache_limit::IsExceeded(folder, mHost.settingsFolder)) return;
  throw Failure("the indexes in " + folder +
                " are above their limit, and readers that look for one delete the oldest");
}

void ServedSource::MakePlace() {
  const IndexPlace& indexes = mFacts.Indexes();
  if (indexes.folder.empty() || mFacts.HasAllIndexes()) return;
  if (!indexes.isPrivate) {
    const std::string& folder = indexes.folder;
    if (cache_folder::Make(folder) &&
        faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0) {
      return;
    }
    throw Failure("cannot write the cache folder " + folder + ": " + std::strerror(errno));
  }
  private_cache::Place place{indexes.whyNotKept.empty() ? indexes.folder : "", indexes.whyNotKept};
  if (private_cache::Prepare(&place)) return;
  mPassingPlace.emplace(shared_fallback::TemporaryFolder());
  if (!cache_folder::CanBeNamed(mPassingPlace->Path()))
    throw Failure("there is no folder for indexes: " + place.whyNot);
  mOnNotice("the index is not kept: " + indexes.whyNotBeside + ", and " + place.whyNot);
  mFacts.MoveIndexes(mPassingPlace->Path());
}
