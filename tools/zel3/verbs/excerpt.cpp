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

// Entries of one archive that follow each other.
class Excerpt::Addition {
 public:
  Addition(Excerpt* excerpt, const OpenedArchive& opened, const EntryRange& range)
      : mExcerpt(*excerpt),
        mCounts(excerpt->mCounts),
        mFile(opened.File()),
        mIndex(opened.Index()),
        mEntry(range.first),
        mFrom(range.first == 0 ? 0 : mIndex.PositionOf(range.first)),
        mTo(range.end < mIndex.Count() ? mIndex.PositionOf(range.end) : mFile.Size()),
        mCopy(mFile, {[excerpt](const unsigned char* bytes, std::size_t size) {
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
    SoundStretches stretches(mFile, mFrom, mTo, header);
    SoundStretch stretch;
    while (stretches.Next(&stretch)) {
      Take(stretch, stretches.Known());
      mExcerpt.mOnBytes(stretch.to - stretch.from);
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
      mExcerpt.UseHeader(stretch.header);
      // Data before an index record is of no entry.
      mCounts.lostBytes += stretch.wholeTo - stretch.data;
    }
  }

  void TakeEntry(const SoundStretch& stretch, const std::optional<KnownTypes>& known) {
    if (!IsWithin(stretch)) return;
    if (!mExcerpt.mHeader || !known) {
      ++mCounts.headerlessEntries;
      mCounts.lostBytes += stretch.wholeTo - stretch.from;
      return;
    }
    const std::uint64_t whole = stretch.wholeTo - stretch.from;
    const KnownTypes types = *known & mExcerpt.mWanted.types;
    const bool takesAll = mExcerpt.mWanted.HasAllTypes() && stretch.undeclared == 0;
    const std::uint64_t size = takesAll ? whole : SizeOfTypes(mFile, stretch, types);
    WriteHeader(mIndex.PlaceOf(mEntry), size);
    takesAll ? mCopy.Add(stretch) : mCopy.AddTypes(stretch, types);
    mExcerpt.mPartBytes += size;
    ++mExcerpt.mPartEntries;
    ++mCounts.entries;
    if (stretch.Lost() > 0 || stretch.undeclared > 0) ++mCounts.damagedEntries;
    mCounts.undeclaredBytes += stretch.undeclared;
    mCounts.unwantedBytes += whole - stretch.undeclared - size;
  }

  // What comes before an entry of that size.
  void WriteHeader(ArchiveTime place, std::uint64_t size) {
    if (mExcerpt.BeginsPart(place, size)) {
      mCopy.Flush();
      mExcerpt.EndPart();
      mExcerpt.mArchives.Begin();
      mExcerpt.mPartTime = place;
    }
    if (mExcerpt.mPartBytes + size > kLargestIndexed) {
      throw Failure(
          "the archive would be larger than an index can tell (256 TiB); --split cuts it");
    }
    if (mExcerpt.mWritten == mExcerpt.mHeader) return;
    mExcerpt.mWritten = mExcerpt.mHeader;
    mCopy.AddBytes(*mExcerpt.mHeader);
    mExcerpt.mPartBytes += mExcerpt.mHeader->size();
  }

  // An index does not have what a wrong length has led over.
  bool IsWithin(const SoundStretch& stretch) {
    while (mEntry + 1 < mIndex.Count() && mIndex.PositionOf(mEntry + 1) <= stretch.from) ++mEntry;
    const ArchiveTime time = ToArchiveTime(stretch.index.time);
    return mIndex.PositionOf(mEntry) == stretch.from ||
           (mExcerpt.mWanted.from <= time && time < mExcerpt.mWanted.to);
  }

  Excerpt& mExcerpt;
  ExcerptCounts& mCounts;
  const PlainFile& mFile;
  const KeptIndex& mIndex;
  std::size_t mEntry;
  const FilePosition mFrom;
  const FilePosition mTo;
  RecordCopy mCopy;
};

void Excerpt::Add(const OpenedArchive& opened, const EntryRange& range) {
  Addition(this, opened, range).Run();
}

void Excerpt::Finish() {
  EndPart();
}

void Excerpt::UseHeader(const std::optional<ArchiveHeader>& header) {
  mHeader.reset();
  if (!header) return;
  ArchiveHeader wanted = *header;
  // An index record follows at once.
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
