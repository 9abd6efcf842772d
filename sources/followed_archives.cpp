#include "sources/followed_archives.h"

#include <algorithm>
#include <utility>

#include "archive/archive_ends.h"
#include "archive/archive_recognition.h"
#include "sources/archive_source.h"
#include "system/file_status.h"

namespace {

// Files that are kept open, so that none of their last bytes is missed.
constexpr std::size_t kMostOpen = 32;
// Files that are remembered when they are gone, in case that they come back elsewhere.
constexpr std::size_t kMostGone = 256;

}  // namespace

// Hands the records of one archive on, and tells of damage.
class FollowedArchives::Followed : public FramingSink {
 public:
  Followed(FollowedArchives* owner, const FollowedFile& followed)
      : file(followed),
        records(owner->mMakeRecords(followed)),
        archive(followed.path, this),
        mOwner(*owner) {}

  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    records->OnHeader(position, header);
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    records->OnIndex(position, index);
  }
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override {
    records->OnData(position, head, payload, kind);
  }
  void OnEmptyData(FilePosition position, std::uint64_t count, Tag kind) override {
    records->OnEmptyData(position, count, kind);
  }
  void OnDamage(FilePosition position, std::uint64_t bytes) override {
    mOwner.mDamaged += bytes;
    Tell(std::to_string(bytes) + " bytes from " + std::to_string(position) +
         " on are damaged, and what they held is not known");
    records->OnDamage(position, bytes);
  }
  void OnCutOff(FilePosition position, std::uint64_t bytes) override {
    Tell("ended within a record, after " + std::to_string(bytes) + " bytes of it");
    records->OnCutOff(position, bytes);
  }

  void Tell(const std::string& what) const { mOwner.mOnNotice(mOwner.NameOf(*this) + ": " + what); }

  FollowedFile file;
  const std::unique_ptr<FollowedRecords> records;
  GrowingArchive archive;
  bool isArchive = false;
  bool isTold = false;  // that it is not an archive
  bool isGone = false;
  std::uint64_t unreadable = 0;

 private:
  FollowedArchives& mOwner;
};

FollowedArchives::FollowedArchives(FollowedFiles* files, MakeRecords makeRecords, OnNotice onNotice)
    : mFiles(*files), mMakeRecords(std::move(makeRecords)), mOnNotice(std::move(onNotice)) {}

FollowedArchives::~FollowedArchives() = default;

std::string FollowedArchives::NameOf(const Followed& followed) const {
  return mFiles.AreMany() ? followed.file.path : archive_source::FileName(followed.file.path);
}

FollowedArchives::Followed* FollowedArchives::Add(const FollowedFile& file) {
  return (mArchives[file.path] = std::make_unique<Followed>(this, file)).get();
}

void FollowedArchives::Follow(const Begin& begin, int output) {
  std::vector<Found> found;
  for (const FollowedFile& file : mFiles.FindAll()) {
    Followed* const followed = Add(file);
    Found each{file, std::nullopt, std::nullopt, &followed->archive};
    PlainFile opened;
    if (IsArchive(followed) && opened.Open(file.path, PlainFile::Mode::kRead)) {
      if (const auto ends = EndsOf(opened)) {
        each.start = ends->start;
        each.end = ends->end;
      } else {
        const EntryStart last = LastEntry(opened, opened.Size());
        each.start = last.earliest;
        each.end = last.latest;
      }
    }
    found.push_back(each);
  }
  std::stable_sort(found.begin(), found.end(), [](const Found& one, const Found& two) {
    if (one.file.source != two.file.source) return one.file.source < two.file.source;
    // What has no entry yet is about to get its first.
    if (one.start.has_value() != two.start.has_value()) return one.start.has_value();
    return one.start < two.start;
  });
  begin(found);
  for (const Found& each : found) LookAt(mArchives.at(each.file.path).get());

  while (!mFiles.IsReaderGone()) {
    const FileNews news = mFiles.Wait(std::nullopt, output);
    Rename(news.renamed);
    for (const std::string& path : news.gone) {
      const auto followed = mArchives.find(path);
      if (followed == mArchives.end()) continue;
      followed->second->isGone = true;
      LookAt(followed->second.get());
      // An open file keeps its room on the disk.
      followed->second->archive.Close();
      mOpen.remove(followed->second.get());
      KeepGone(path);
    }
    for (const std::string& path : news.touched) {
      const auto followed = mArchives.find(path);
      if (followed != mArchives.end()) LookAt(followed->second.get());
    }
    for (const FollowedFile& file : news.appeared) {
      if (!IsBack(file)) Add(file);
      LookAt(mArchives.at(file.path).get());
    }
  }
}

void FollowedArchives::Rename(const std::vector<RenamedFile>& renamed) {
  std::vector<std::pair<FollowedFile, std::unique_ptr<Followed>>> moved;
  for (const auto& [from, to] : renamed) {
    const auto followed = mArchives.find(from);
    if (followed == mArchives.end()) continue;
    followed->second->Tell("is " + to.path + " now, and is followed there");
    moved.emplace_back(to, std::move(followed->second));
    mArchives.erase(followed);
  }
  for (auto& [to, followed] : moved) {
    followed->file = to;
    followed->records->MovedTo(to);
    followed->archive.MoveTo(to.path);
    const auto replaced = mArchives.find(to.path);
    if (replaced != mArchives.end()) {
      replaced->second->isGone = true;
      LookAt(replaced->second.get());
      mOpen.remove(replaced->second.get());
      mArchives.erase(replaced);
    }
    mArchives[to.path] = std::move(followed);
  }
}

// A file that is not one yet may become one.
bool FollowedArchives::IsArchive(Followed* followed) {
  if (followed->isArchive) return true;
  const auto status = StatusOf(followed->file.path);
  if (!status || (S_ISREG(status->stx_mode) && status->stx_size < kMarkerSize)) return false;
  const auto why = WhyNotForReaders(followed->file.path);
  followed->isArchive = !why;
  if (why && !std::exchange(followed->isTold, true)) {
    mOnNotice(NameOf(*followed) + " " + *why + "; it is left out");
  }
  return followed->isArchive;
}

void FollowedArchives::LookAt(Followed* followed) {
  if (!IsArchive(followed)) return;
  for (;;) {
    const GrowingArchive::Found found = followed->archive.Look();
    const std::uint64_t unreadable = followed->archive.Unreadable();
    if (unreadable > followed->unreadable) {
      mDamaged += unreadable - followed->unreadable;
      followed->Tell(std::to_string(unreadable - followed->unreadable) +
                     " bytes cannot be read, and what they held is not known");
    }
    followed->unreadable = unreadable;
    switch (found) {
      case GrowingArchive::Found::kShorter:
        followed->Tell("has become shorter, and is read from its beginning");
        break;
      case GrowingArchive::Found::kReplaced:
        if (!followed->isGone)
          followed->Tell("is another file now, which is read from its beginning");
        break;
      case GrowingArchive::Found::kGone:
        followed->Tell("no longer exists");
        break;
      case GrowingArchive::Found::kNotRead:
        followed->Tell("cannot be read now");
        break;
      case GrowingArchive::Found::kNothing:
      case GrowingArchive::Found::kMore:
        break;
    }
    const bool beginsAnew =
        found == GrowingArchive::Found::kShorter || found == GrowingArchive::Found::kReplaced;
    // All that a file held comes before the word that it is gone.
    if (found == GrowingArchive::Found::kMore && followed->isGone) continue;
    if (!beginsAnew) break;
    followed->records->Begin();
    followed->isArchive = false;
    followed->isTold = false;
    // Of a file that is gone, what has its name now is another one's.
    if (followed->isGone || !IsArchive(followed)) break;
  }
  followed->records->EndOfLook();
  KeepOpen(followed);
}

void FollowedArchives::KeepOpen(Followed* followed) {
  mOpen.remove(followed);
  if (!followed->archive.IsOpen()) return;
  mOpen.push_front(followed);
  if (mOpen.size() <= kMostOpen) return;
  mOpen.back()->archive.Close();
  mOpen.pop_back();
}

void FollowedArchives::KeepGone(const std::string& path) {
  mGone.remove(path);
  mGone.push_front(path);
  if (mGone.size() <= kMostGone) return;
  const auto oldest = mArchives.find(mGone.back());
  mGone.pop_back();
  if (oldest == mArchives.end() || !oldest->second->isGone) return;
  mOpen.remove(oldest->second.get());
  mArchives.erase(oldest);
}

// Whether a file that appears is one that was gone, or has the name of one: then it is followed
// under this name already.
bool FollowedArchives::IsBack(const FollowedFile& file) {
  const auto status = StatusOf(file.path);
  const std::optional<InodeId> id = status ? std::make_optional(InodeOf(*status)) : std::nullopt;
  for (const std::string& path : mGone) {
    const auto gone = mArchives.find(path);
    if (gone == mArchives.end() || !gone->second->isGone || path == file.path) continue;
    if (!id || gone->second->archive.Id() != id) continue;
    Rename({{path, file}});
    break;
  }
  const auto known = mArchives.find(file.path);
  if (known == mArchives.end()) return false;
  known->second->isGone = false;
  return true;
}
