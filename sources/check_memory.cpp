#include "sources/check_memory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "sources/cache_folder.h"
#include "sources/cache_home.h"
#include "system/file_handle.h"
#include "system/file_status.h"

namespace {

// Enough for some hundred thousand archives.
constexpr std::uint64_t kLargestFile = 64 << 20;
// Below this, archives that are gone cost nothing.
constexpr std::size_t kFewArchives = 64;
// The end of the name of a file that is not yet whole, as mkostemp wants it.
constexpr char kUnfinished[] = ".XXXXXX";

std::string Folder(const std::string& cacheHome) {
  return cacheHome + "/checked";
}

bool IsSafe(const std::string& cacheHome) {
  return cache_home::IsSafe(cacheHome) && cache_home::IsSafe(Folder(cacheHome));
}

std::string FileFor(const std::string& folder) {
  const std::string home = cache_home::Path();
  if (home.empty() || !IsSafe(home)) return "";
  return Folder(home) + "/" + cache_home::NameFor(folder);
}

// Nothing unless it is a file of this user that nobody else can write, readable and of moderate
// size.
std::optional<std::string> Contents(const std::string& path) {
  const FileHandle file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  const auto status = file.IsOpen() ? StatusOf(file) : std::nullopt;
  if (!status || !S_ISREG(status->stx_mode) || status->stx_uid != geteuid() ||
      (status->stx_mode & (S_IWGRP | S_IWOTH)) != 0 || status->stx_size > kLargestFile) {
    return std::nullopt;
  }
  std::string bytes(static_cast<std::size_t>(status->stx_size), '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = read(file.Get(), bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    done += static_cast<std::size_t>(count);
  }
  return bytes;
}

CheckedArchives Load(const std::string& path) {
  return CheckedFromText(Contents(path).value_or("")).value_or(CheckedArchives());
}

bool WriteAll(const FileHandle& file, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = write(file.Get(), bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

CheckMemory::CheckMemory(const std::string& folder) : mFolder(folder), mFile(FileFor(folder)) {
  if (!mFile.empty()) mArchives = Load(mFile);
}

CheckMemory::~CheckMemory() {
  try {
    Save();
  } catch (const std::exception&) {
    // When memory runs out, nothing is remembered.
  }
}

std::optional<CheckedFacts> CheckMemory::Find(const std::string& fileName,
                                              const ArchiveIdentity& identity) const {
  const auto found = mArchives.byName.find(fileName);
  if (found == mArchives.byName.end() || !(found->second.identity == identity)) return std::nullopt;
  return found->second.facts;
}

bool CheckMemory::KnowsAnotherIndex(const std::string& fileName,
                                    const ArchiveIdentity& identity) const {
  const auto found = mArchives.byName.find(fileName);
  return found != mArchives.byName.end() && found->second.identity.archive == identity.archive &&
         !(found->second.identity == identity);
}

void CheckMemory::Forget(const std::string& fileName) {
  if (mArchives.byName.erase(fileName) > 0) mChanged.insert(fileName);
}

void CheckMemory::Remember(const std::string& fileName, const ArchiveIdentity& identity,
                           const CheckedFacts& facts) {
  const bool isThere = !(identity.archive == FileIdentity());
  if (mFile.empty() || !isThere || !ShowsChanges(identity)) return;
  mArchives.byName[fileName] = {identity, facts};
  mChanged.insert(fileName);
}

void CheckMemory::Save() {
  if (mChanged.empty()) return;
  CheckedArchives all = Load(mFile);
  for (const std::string& name : mChanged) {
    const auto known = mArchives.byName.find(name);
    if (known == mArchives.byName.end()) {
      all.byName.erase(name);
    } else {
      all.byName[name] = known->second;
    }
  }
  mChanged.clear();
  ForgetGone(&all);
  Put(CheckedText(all));
}

// A new file replaces the present one in one step, so that no process reads half a file.
void CheckMemory::Put(const std::string& text) const {
  const std::string folder = mFile.substr(0, mFile.rfind('/'));
  if (!cache_folder::Make(folder) || !IsSafe(cache_home::Path())) return;
  std::string unfinished = mFile + kUnfinished;
  const FileHandle file(mkostemp(unfinished.data(), O_CLOEXEC));
  if (!file.IsOpen()) return;
  if (!WriteAll(file, text) || rename(unfinished.c_str(), mFile.c_str()) != 0)
    unlink(unfinished.c_str());
}

// Only when their number has doubled since the last time, so that the cost of saving stays the same
// per archive.
void CheckMemory::ForgetGone(CheckedArchives* archives) const {
  auto& byName = archives->byName;
  if (byName.size() < kFewArchives || byName.size() / 2 < archives->countAtLook) return;
  for (auto archive = byName.begin(); archive != byName.end();) {
    const bool isGone = !StatusOf(mFolder + "/" + archive->first, Links::kNot) && errno == ENOENT;
    archive = isGone ? byName.erase(archive) : std::next(archive);
  }
  archives->countAtLook = byName.size();
}

namespace checked_files {

std::string Folder() {
  const std::string home = cache_home::Path();
  return home.empty() || !IsSafe(home) ? "" : ::Folder(home);
}

std::string NameFor(const std::string& folder) {
  return cache_home::NameFor(folder);
}

Kind KindOf(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::optional<std::string> contents = Contents(path);
  if (!contents) return Kind::kStranger;
  if (cache_home::IsName(name)) {
    if (CheckedFromText(*contents)) return Kind::kWhole;
    // A machine that stops may leave an empty one.
    return contents->empty() || IsEarlierChecked(*contents) ? Kind::kEarlier : Kind::kStranger;
  }
  const std::size_t stem = name.find('.');
  const bool isUnfinished = stem != std::string::npos && cache_home::IsName(name.substr(0, stem)) &&
                            name.size() == stem + sizeof(kUnfinished) - 1;
  return isUnfinished && BeginsAsChecked(*contents) ? Kind::kUnfinished : Kind::kStranger;
}

}  // namespace checked_files
