#include "verbs/mended_copy.h"

#include <algorithm>
#include <utility>

#include "archive/record_copy.h"
#include "archive/sound_stretches.h"
#include "blocks/byte_cursor.h"
#include "system/failure.h"

namespace {

constexpr std::uint64_t kLargestWithAnIndex = std::uint64_t{1} << 48;

// What was found at the start of an archive.
struct ArchiveFront {
  std::optional<FilePosition> firstIndex;   // before any header
  std::optional<FilePosition> firstHeader;  // a whole one
};

ArchiveFront FrontOf(const PlainFile& file) {
  ArchiveFront front;
  FileWindow window(file);
  SoundStretches stretches(file, &window, 0, file.Size(), std::nullopt);
  SoundStretch stretch;
  while (!front.firstHeader && stretches.Next(&stretch)) {
    if (stretch.kind == SoundStretch::Kind::kHeader) {
      front.firstHeader = stretch.from;
    } else if (stretch.kind == SoundStretch::Kind::kIndex && !front.firstIndex) {
      front.firstIndex = stretch.from;
    }
  }
  return front;
}

// How many bytes at the start of the file differ from these.
std::uint64_t DifferentAtStart(const PlainFile& file, const std::vector<unsigned char>& bytes) {
  std::vector<unsigned char> found(bytes.size());
  bool failed = false;
  found.resize(file.ReadAt(0, found.data(), found.size(), &failed));
  std::uint64_t different = bytes.size() - found.size();
  for (std::size_t i = 0; i < found.size(); ++i) different += found[i] != bytes[i] ? 1 : 0;
  return different;
}

class MendedCopy {
 public:
  MendedCopy(const PlainFile& file, UnfinishedFile* output, const OnBytesRead& onBytes)
      : mFile(file),
        mOnBytes(onBytes),
        mWindow(file),
        mCopy(
            file, &mWindow,
            {[output](const unsigned char* bytes, std::size_t size) { output->Write(bytes, size); },
             [output](std::uint64_t size) { output->Skip(size); },
             [this](FilePosition position, std::uint64_t bytes, std::uint64_t entries) {
               mMended.losses.Add(LossCause::kUnreadable, position, bytes);
               LoseOfEntry(entries);
             },
             [output](int source, FilePosition position, std::size_t size) {
               return output->CopyFrom(source, position, size);
             }}) {}

  Mended Run() {
    const ArchiveFront front = FrontOf(mFile);
    FilePosition from = 0;
    std::optional<ArchiveHeader> header;
    if (front.firstIndex) {
      const auto found = FindLostHeader(mFile, *front.firstIndex, front.firstHeader);
      if (found) {
        header = found->header;
        from = *front.firstIndex;
        PutInPlace(*found, from);
      }
    }
    if (!header && !front.firstHeader)
      throw Failure(
          "no stream header is whole, and without one nothing can be put into an archive");
    SoundStretches stretches(mFile, &mWindow, from, mFile.Size(), header);
    SoundStretch stretch;
    while (stretches.Next(&stretch)) {
      Take(stretch, stretches.Known());
      mOnBytes(DataOf(stretch, mFile));
    }
    mCopy.Flush();
    return std::move(mMended);
  }

 private:
  void PutInPlace(const FoundHeader& found, FilePosition firstIndex) {
    ArchiveHeader header = found.header;
    header.firstIndexDelta = kFirstIndexDelta;
    const std::vector<unsigned char> bytes = WriteHeader(header);
    mHasHeader = true;
    mMended.laterHeader = found.later;
    mMended.firstHeader =
        found.later ? Mended::FirstHeader::kLater : Mended::FirstHeader::kRestored;
    mMended.losses.Add(LossCause::kDamage, 0,
                       found.later ? firstIndex : DifferentAtStart(mFile, bytes));
  }

  void Take(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    switch (stretch.kind) {
      case SoundStretch::Kind::kHeader:
        TakeHeader(stretch, known);
        break;
      case SoundStretch::Kind::kIndex:
        TakeEntry(stretch, known);
        break;
      case SoundStretch::Kind::kNothing:
        break;
    }
    if (stretch.Lost() > 0) mMended.losses.Add(CauseOf(stretch), stretch.wholeTo, stretch.Lost());
  }

  LossCause CauseOf(const SoundStretch& stretch) const {
    if (stretch.isCutOff) return LossCause::kCutOff;
    if (stretch.isUnreadable) return LossCause::kUnreadable;
    return mHasHeader ? LossCause::kDamage : LossCause::kNoHeader;
  }

  // Data between the first header and an index record belongs to no entry, unless that header skips
  // it. Data after a later header belongs to the entry before.
  void TakeHeader(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    const bool isFirst = !std::exchange(mHasHeader, true);
    const std::int64_t named = stretch.header->length + stretch.header->firstIndexDelta;
    const bool leadsOn = named == static_cast<std::int64_t>(stretch.wholeTo - stretch.from) &&
                         stretch.undeclared == 0;
    const bool hasData = stretch.wholeTo > stretch.data;
    const bool isWithinEntry = mMended.entries > 0;
    if (isFirst ? leadsOn : !hasData || isWithinEntry) {
      if (isWithinEntry) CountDamage(stretch);
      return Copy(stretch, known);
    }
    ArchiveHeader header = *stretch.header;
    if (isFirst && header.firstIndexDelta != kFirstIndexDelta) {
      // In a folder, a file is not opened when its first header does not lead to an index record.
      header.firstIndexDelta = kFirstIndexDelta;
      mMended.firstHeader = Mended::FirstHeader::kRestored;
    }
    WriteHeader(header);
    mMended.losses.Add(LossCause::kNoIndex, stretch.data, stretch.wholeTo - stretch.data);
  }

  std::vector<unsigned char> WriteHeader(const ArchiveHeader& header) {
    // A header that has been decoded can be encoded.
    const auto bytes = EncodeHeaderRecord(header).value();
    mCopy.AddBytes(bytes);
    return bytes;
  }

  void TakeEntry(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    // So that unreadable bytes of the entry before are noted before this entry is.
    mCopy.Flush();
    mMended.losses.OnEntry(ToArchiveTime(stretch.index.time));
    if (!mHasHeader) {
      mMended.losses.Add(LossCause::kNoHeader, stretch.from, stretch.wholeTo - stretch.from);
      return;
    }
    ++mMended.entries;
    mIsEntryDamaged = false;
    CountDamage(stretch);
    Copy(stretch, known);
  }

  // Something of the last entry cannot be read. When that includes index records, as many entries
  // are lost.
  void LoseOfEntry(std::uint64_t indexRecords) {
    if (mMended.entries == 0) return;
    if (indexRecords > 0) {
      mMended.entries -= indexRecords;
      mMended.damagedEntries -= mIsEntryDamaged ? 1 : 0;
    } else if (!mIsEntryDamaged) {
      ++mMended.damagedEntries;
    }
    mIsEntryDamaged = true;
  }

  // Once for each entry.
  void CountDamage(const SoundStretch& stretch) {
    if (mIsEntryDamaged || (stretch.Lost() == 0 && stretch.undeclared == 0)) return;
    mIsEntryDamaged = true;
    ++mMended.damagedEntries;
  }

  void Copy(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    if (stretch.undeclared == 0) return mCopy.Add(stretch);
    mMended.losses.Add(LossCause::kUndeclared, stretch.undeclaredAt, stretch.undeclared);
    mCopy.AddTypes(stretch, known.value_or(KnownTypes()));
  }

  const PlainFile& mFile;
  const OnBytesRead& mOnBytes;
  Mended mMended;
  FileWindow mWindow;
  RecordCopy mCopy;
  bool mHasHeader = false;
  bool mIsEntryDamaged = false;  // the last one
};

}  // namespace

Mended CopyWhatIsWhole(const PlainFile& file, UnfinishedFile* output, const OnBytesRead& onBytes) {
  if (file.Size() > kLargestWithAnIndex)
    throw Failure("the archive is too large for an index (256 TiB)");
  return MendedCopy(file, output, onBytes).Run();
}
