#include "archive/sound_stretches.h"

#include <algorithm>

#include "parser/marker_search.h"
#include "system/file_data.h"
#include "system/interruption.h"

namespace {

constexpr std::uint64_t kStepsBetweenLooks = 65536;  // whether the user interrupts
constexpr std::uint64_t kUnreadablePage = 4096;
constexpr std::uint64_t kLongestUnreadableStep = 1 << 20;

}  // namespace

std::uint64_t DataOf(const SoundStretch& stretch, const PlainFile& file) {
  // For a short stretch, asking the system takes longer than reading.
  constexpr std::uint64_t kShort = 1 << 20;
  const std::uint64_t size = stretch.to - stretch.from;
  return size < kShort ? size : DataBytes(file.Handle(), stretch.from, stretch.to);
}

SoundStretches::SoundStretches(const PlainFile& file, FileWindow* window, FilePosition from,
                               FilePosition end, const std::optional<ArchiveHeader>& header)
    : mFile(file), mWindow(*window), mPosition(from), mEnd(end) {
  if (header) mKnown = TypesKnownBy(*header);
}

bool SoundStretches::Next(SoundStretch* stretch) {
  if (mPosition >= mEnd) return false;
  interruption::Check();
  *stretch = SoundStretch();
  stretch->from = stretch->data = stretch->wholeTo = mPosition;
  mCount = 0;
  RecordSteps steps(mFile, &mWindow, mPosition, mEnd);
  const RecordSteps::Record record = steps.Next();
  if (record.kind == RecordSteps::Kind::kHeader) stretch->header = BelievedHeader(record);
  if (stretch->header) {
    stretch->kind = SoundStretch::Kind::kHeader;
    mKnown = TypesKnownBy(*stretch->header);
  } else if (record.kind == RecordSteps::Kind::kIndex) {
    stretch->kind = SoundStretch::Kind::kIndex;
    stretch->index = record.index;
  }
  if (stretch->kind == SoundStretch::Kind::kNothing) {
    stretch->to = NextMarker(mPosition + 1, &stretch->isUnreadable);
    stretch->isCutOff = stretch->to == mEnd && record.kind == RecordSteps::Kind::kCutOff &&
                        (!record.type || IsKnown(*record.type));
  } else {
    stretch->data = record.position + record.size;
    WalkData(&steps, stretch);
  }
  mPosition = stretch->to;
  return true;
}

// A header whose length is too large may take the records after it for texts. Then it ends within
// one of them.
std::optional<ArchiveHeader> SoundStretches::BelievedHeader(const RecordSteps::Record& record) {
  const auto size = static_cast<std::size_t>(record.size) - kMarkerSize;
  const unsigned char* const body = mWindow.At(record.position + kMarkerSize, size);
  const auto header = body == nullptr ? std::nullopt : DecodeHeaderBody(body, size);
  if (!header || !FindMarker(body, size)) return header;
  const FilePosition end = record.position + record.size;
  if (end == mEnd) return header;
  const unsigned char* const next = mWindow.At(end, kMarkerSize);
  if (next != nullptr && FindMarker(next, kMarkerSize)) return header;
  return std::nullopt;
}

void SoundStretches::WalkData(RecordSteps* steps, SoundStretch* stretch) {
  for (;;) {
    const RecordSteps::Record record = steps->Next();
    switch (record.kind) {
      case RecordSteps::Kind::kHeader:
      case RecordSteps::Kind::kIndex:
      case RecordSteps::Kind::kEnd:
        stretch->wholeTo = stretch->to = record.position;
        return;
      case RecordSteps::Kind::kData:
        if (!IsKnown(*record.type)) return Fail(record, stretch);
        Remember(record.position);
        Cut(record, stretch);
        if (mCount % kStepsBetweenLooks == 0) interruption::Check();
        break;
      case RecordSteps::Kind::kImpossible:
      case RecordSteps::Kind::kCutOff:
        return Fail(record, stretch);
    }
  }
}

// The framing leads to a place where no record of the stretch can be.
void SoundStretches::Fail(const RecordSteps::Record& record, SoundStretch* stretch) {
  const FilePosition place = record.position;
  bool isUnreadable = false;
  FilePosition marker = NextMarker(FirstDoubted(place) + 1, &isUnreadable);
  if (marker < place) {
    stretch->wholeTo = StartOfDoubted(marker);
    while (!stretch->cuts.empty() && stretch->cuts.back() > stretch->wholeTo)
      stretch->cuts.pop_back();
    stretch->to = marker;
    stretch->isUnreadable = isUnreadable;
    return;
  }
  if (marker == place) marker = NextMarker(place + 1, &isUnreadable);
  stretch->to = marker;
  if (record.kind == RecordSteps::Kind::kData && LengthsLead(place, marker, stretch)) {
    stretch->wholeTo = marker;
    return;
  }
  stretch->wholeTo = place;
  stretch->isUnreadable = isUnreadable;
  stretch->isCutOff = marker == mEnd && record.kind == RecordSteps::Kind::kCutOff &&
                      (!record.type || IsKnown(*record.type));
}

FilePosition SoundStretches::FirstDoubted(FilePosition otherwise) const {
  if (mCount == 0) return otherwise;
  return mCount <= kDoubted ? mLast[0] : mLast[mCount % kDoubted];
}

// REQUIRES: it is within one of them.
FilePosition SoundStretches::StartOfDoubted(FilePosition within) const {
  FilePosition start = FirstDoubted(within);
  for (std::size_t i = 0; i < std::min<std::uint64_t>(mCount, kDoubted); ++i) {
    if (mLast[i] <= within) start = std::max(start, mLast[i]);
  }
  return start;
}

// Whether records of any types fill these bytes. Zeros are not data of stream 0 unless that has
// been declared.
bool SoundStretches::LengthsLead(FilePosition from, FilePosition to, SoundStretch* stretch) {
  const std::size_t cuts = stretch->cuts.size();
  std::uint64_t bytes = 0;
  RecordSteps steps(mFile, &mWindow, from, to);
  for (;;) {
    const RecordSteps::Record record = steps.Next();
    if (record.kind == RecordSteps::Kind::kEnd) break;
    const bool isKnown = record.type && IsKnown(*record.type);
    if (record.kind != RecordSteps::Kind::kData || (record.isZeros && !isKnown)) {
      stretch->cuts.resize(cuts);
      return false;
    }
    Cut(record, stretch);
    if (isKnown) continue;
    if (bytes == 0) stretch->undeclaredAt = record.position;
    bytes += record.size;
  }
  stretch->undeclared = bytes;
  return true;
}

void SoundStretches::Cut(const RecordSteps::Record& record, SoundStretch* stretch) {
  std::vector<FilePosition>& cuts = stretch->cuts;
  const auto isFar = [&](FilePosition place) {
    return place - (cuts.empty() ? stretch->from : cuts.back()) >= SoundStretch::kBytesBetweenCuts;
  };
  if (record.size > SoundStretch::kBytesBetweenCuts) cuts.push_back(record.position);
  if (isFar(record.position + record.size)) cuts.push_back(record.position + record.size);
}

// The first marker from `from` on; the end when there is none.
FilePosition SoundStretches::NextMarker(FilePosition from, bool* isUnreadable) {
  std::uint64_t wanted = 256;  // most are near
  std::uint64_t step = kUnreadablePage;
  FilePosition dataEnd = from;
  while (from < mEnd && mEnd - from >= kMarkerSize) {
    interruption::Check();
    if (from >= dataEnd) {
      const auto data = NextData(mFile.Handle(), from, mEnd);
      if (!data) return mEnd;
      // No byte of a marker is zero.
      from = std::max(from, data->from);
      dataEnd = data->to;
      if (mEnd - from < kMarkerSize) return mEnd;
    }
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, mEnd - from));
    const unsigned char* const bytes = mWindow.At(from, size);
    if (bytes != nullptr) {
      if (const auto marker = FindMarker(bytes, size)) return from + *marker;
      from += size - (kMarkerSize - 1);
      wanted = std::min<std::uint64_t>(2 * wanted, 65536);
      step = kUnreadablePage;
    } else if (wanted > kMarkerSize) {
      wanted = kMarkerSize;
    } else {
      *isUnreadable = true;
      from = std::min<FilePosition>(from - from % kUnreadablePage + step, mEnd);
      step = std::min(2 * step, kLongestUnreadableStep);
      wanted = 256;
    }
  }
  return mEnd;
}
