#include "verbs/excerpt.h"

#include <algorithm>
#include <utility>

#include "system/failure.h"

namespace {

// Positions in an index have 48 bits.
constexpr std::uint64_t kLargestIndexed = std::uint64_t{1} << 48;

}  // namespace

Excerpt::Excerpt(const WantedRecords& wanted, const std::optional<PartSize>& partSize,
                 NewArchives* archives, OnBytesRead onBytes)
    : mWanted(wanted), mPartSize(partSize), mArchives(*archives), mOnBytes(std::move(onBytes)) {}

// Consecutive entries of one archive.
class Excerpt::Addition {
 public:
  Addition(Excerpt* excerpt, std::size_t number, const OpenedArchive& opened,
           const EntryRange& range)
      : mExcerpt(*excerpt),
        mCounts(excerpt->mCounts),
        mNumber(number),
        mStep(opened.Span().step),
        mFile(opened.File()),
        mIndex(opened.Index()),
        mEntry(range.first),
        mFrom(range.first == 0 ? 0 : mIndex.PositionOf(range.first)),
        mTo(range.end < mIndex.Count() ? mIndex.PositionOf(range.end) : mFile.Size()),
        mWindow(mFile),
        mCopy(mFile, &mWindow,
              {[excerpt](const unsigned char* bytes, std::size_t size) {
                 excerpt->mArchives.File().Write(bytes, size);
               },
               [excerpt](std::uint64_t size) { excerpt->mArchives.File().Skip(size); },
               [excerpt](FilePosition, std::uint64_t size, std::uint64_t entries) {
                 excerpt->mCounts.lostBytes += size;
                 excerpt->mCounts.entries -= entries;
                 excerpt->mPartEntries -= entries;
               },
               [excerpt](int source, FilePosition position, std::size_t size) {
                 return excerpt->mArchives.File().CopyFrom(source, position, size);
               }}) {}

  void Run() {
    const auto position = mFrom == 0 ? std::nullopt : mIndex.HeaderFor(mEntry);
    const auto header = position ? HeaderAt(mFile, *position) : std::nullopt;
    mExcerpt.UseHeader(header);
    SoundStretches stretches(mFile, &mWindow, mFrom, mTo, header);
    SoundStretch stretch;
    while (stretches.Next(&stretch)) {
      Take(stretch, stretches.Known());
      mExcerpt.mOnBytes(DataOf(stretch, mFile));
    }
    mCopy.Flush();
  }

 private:
  void Take(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    const bool isAtEnd = stretch.to == mFile.Size();
    (stretch.isCutOff && isAtEnd ? mCounts.cutOffBytes : mCounts.lostBytes) += stretch.Lost();
    if (stretch.kind == SoundStretch::Kind::kIndex) {
      TakeEntry(stretch, known);
    } else if (stretch.kind == SoundStretch::Kind::kHeader) {
      TakeHeader(stretch, known);
    }
  }

  void TakeHeader(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    mExcerpt.UseHeader(stretch.header);
    const std::uint64_t size = stretch.wholeTo - stretch.data;
    if (size == 0) return;
    switch (mBefore) {
      case Before::kNoEntry:
        (LeadsToItsEnd(stretch) ? mCounts.entrylessBytes : mCounts.lostBytes) += size;
        break;
      case Before::kLostEntry:
        mCounts.lostBytes += size;
        break;
      case Before::kEntry:
        TakeRestOfEntry(stretch, known.value_or(KnownTypes()));
        break;
      case Before::kOtherEntry:
        break;
    }
  }

  static bool LeadsToItsEnd(const SoundStretch& stretch) {
    const std::int64_t named = stretch.header->length + stretch.header->firstIndexDelta;
    return stretch.from == 0 && stretch.undeclared == 0 &&
           named == static_cast<std::int64_t>(stretch.wholeTo);
  }

  // Data after a header belongs to the entry before it.
  void TakeRestOfEntry(const SoundStretch& stretch, const KnownTypes& known) {
    SoundStretch rest = stretch;
    rest.from = stretch.data;
    const std::uint64_t whole = rest.wholeTo - rest.from;
    const KnownTypes types = known & mExcerpt.mWanted.types;
    const std::uint64_t size = SizeOfTypes(mFile, rest, types);
    mCounts.undeclaredBytes += stretch.undeclared;
    mCounts.unwantedBytes += whole - stretch.undeclared - size;
    CountDamage(stretch);
    if (size == 0) return;
    WriteHeaderInForce(size);
    mCopy.AddTypes(rest, types);
    mExcerpt.mPartBytes += size;
  }

  void TakeEntry(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    mBefore = Before::kOtherEntry;
    if (!IsWithin(stretch)) return;
    if (!mExcerpt.mHeader || !known) {
      mBefore = Before::kLostEntry;
      ++mCounts.headerlessEntries;
      mCounts.lostBytes += stretch.wholeTo - stretch.from;
      return;
    }
    mBefore = Before::kEntry;
    mIsEntryDamaged = false;
    const std::uint64_t whole = stretch.wholeTo - stretch.from;
    const KnownTypes types = *known & mExcerpt.mWanted.types;
    const bool takesAll = mExcerpt.mWanted.HasAllTypes() && stretch.undeclared == 0;
    const std::uint64_t size = takesAll ? whole : SizeOfTypes(mFile, stretch, types);
    WriteHeader(mIndex.PlaceOf(mEntry), size);
    takesAll ? mCopy.Add(stretch) : mCopy.AddTypes(stretch, types);
    mExcerpt.mPartBytes += size;
    ++mExcerpt.mPartEntries;
    ++mCounts.entries;
    NoteTime(stretch);
    CountDamage(stretch);
    mCounts.undeclaredBytes += stretch.undeclared;
    mCounts.unwantedBytes += whole - stretch.undeclared - size;
  }

  void NoteTime(const SoundStretch& stretch) {
    const bool isIndexed = mIndex.PositionOf(mEntry) == stretch.from;
    const ArchiveTime time = ToArchiveTime(stretch.index.time);
    const ArchiveTime place = isIndexed ? mIndex.PlaceOf(mEntry) : time;
    if (place != time) ++mCounts.misplaced;
    const std::optional<TimeLeap> leap = mExcerpt.mWatch.Take(mNumber, place, mStep);
    if (leap) (leap->IsBackward() ? mCounts.backward : mCounts.gaps).push_back(*leap);
  }

  // Once for each entry.
  void CountDamage(const SoundStretch& stretch) {
    if (mIsEntryDamaged || (stretch.Lost() == 0 && stretch.undeclared == 0)) return;
    mIsEntryDamaged = true;
    ++mCounts.damagedEntries;
  }

  // Begins a new part if that is due, and writes what must come before an entry of that size.
  void WriteHeader(ArchiveTime place, std::uint64_t size) {
    if (mExcerpt.BeginsPart(place, size)) {
      mCopy.Flush();
      mExcerpt.EndPart();
      mExcerpt.mArchives.Begin();
      mExcerpt.mPartTime = place;
    }
    WriteHeaderInForce(size);
  }

  // Writes the header in force, unless it is there already, before so much of an entry.
  void WriteHeaderInForce(std::uint64_t size) {
    if (mExcerpt.mPartBytes + size > kLargestIndexed) {
      throw Failure("the archive would be too large for an index (256 TiB); split it with --split");
    }
    if (mExcerpt.mWritten == mExcerpt.mHeader) return;
    mExcerpt.mWritten = mExcerpt.mHeader;
    mCopy.AddBytes(*mExcerpt.mHeader);
    mExcerpt.mPartBytes += mExcerpt.mHeader->size();
  }

  // An index does not have entries that a wrong length has skipped.
  bool IsWithin(const SoundStretch& stretch) {
    while (mEntry + 1 < mIndex.Count() && mIndex.PositionOf(mEntry + 1) <= stretch.from) ++mEntry;
    const ArchiveTime time = ToArchiveTime(stretch.index.time);
    return mIndex.PositionOf(mEntry) == stretch.from ||
           (mExcerpt.mWanted.from <= time && time < mExcerpt.mWanted.to);
  }

  // What data after a header belongs to.
  enum class Before {
    kNoEntry,
    kEntry,       // that is written
    kLostEntry,   // that has no header
    kOtherEntry,  // not of the range
  };

  Excerpt& mExcerpt;
  ExcerptCounts& mCounts;
  const std::size_t mNumber;
  const ArchiveTime mStep;
  const PlainFile& mFile;
  const KeptIndex& mIndex;
  std::size_t mEntry;
  const FilePosition mFrom;
  const FilePosition mTo;
  FileWindow mWindow;
  RecordCopy mCopy;
  Before mBefore = Before::kNoEntry;
  bool mIsEntryDamaged = false;  // the last one
};

void Excerpt::Add(std::size_t number, const OpenedArchive& opened, const EntryRange& range) {
  // The archive may have been opened again since the range was found.
  const KeptIndex& index = opened.Index();
  if (range.first >= range.end || range.end > index.Count() ||
      index.PositionOf(range.end - 1) >= opened.File().Size()) {
    throw Failure("an archive of the source changed during the cut");
  }
  Addition(this, number, opened, range).Run();
}

void Excerpt::Finish() {
  EndPart();
}

void Excerpt::UseHeader(const std::optional<ArchiveHeader>& header) {
  mHeader.reset();
  if (!header) return;
  ArchiveHeader wanted = *header;
  // An index record follows immediately.
  wanted.firstIndexDelta = kFirstIndexDelta;
  auto& streams = wanted.streams;
  streams.erase(
      std::remove_if(streams.begin(), streams.end(),
                     [this](const StreamDescriptor& stream) { return !mWanted.types[stream.id]; }),
      streams.end());
  mHeader = EncodeHeaderRecord(wanted);
}

bool Excerpt::BeginsPart(ArchiveTime place, std::uint64_t size) const {
  if (!mArchives.HasBegun()) return true;
  if (!mPartSize || mPartEntries == 0) return false;
  if (mPartSize->time > 0)
    return place > mPartTime && place / mPartSize->time > mPartTime / mPartSize->time;
  const std::uint64_t header = mWritten == mHeader ? 0 : mHeader->size();
  return mPartBytes + header + size > mPartSize->bytes;
}

void Excerpt::EndPart() {
  if (mArchives.HasBegun()) mArchives.End(mPartEntries);
  mWritten.reset();
  mPartEntries = 0;
  mPartBytes = 0;
}
