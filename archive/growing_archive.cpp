#include "archive/growing_archive.h"

#include <cerrno>
#include <utility>

#include "system/file_handle.h"

namespace {

std::optional<struct statx> StatusOfOpen(const PlainFile& file) {
  FileHandle handle(file.Handle());
  auto status = StatusOf(handle);
  handle.Release();
  return status;
}

}  // namespace

class GrowingArchive::Placed : public FramingSink {
 public:
  Placed(FramingSink* sink, const EntryStart& start)
      : mSink(*sink),
        mHeaderPosition(start.headerPosition),
        mHeaderSize(start.header.size()),
        mShift(start.position - start.header.size()) {}

  // Of what was there before, data and damage are not handed over.
  bool isOld = false;

  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    mSink.OnHeader(InFile(position), header);
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    mSink.OnIndex(InFile(position), index);
  }
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
              Tag kind) override {
    if (!isOld) mSink.OnData(InFile(position), head, payload, kind);
  }
  void OnEmptyData(FilePosition position, std::uint64_t count, Tag kind) override {
    if (!isOld) mSink.OnEmptyData(InFile(position), count, kind);
  }
  void OnDamage(FilePosition position, std::uint64_t bytes) override {
    if (!isOld) mSink.OnDamage(InFile(position), bytes);
  }
  void OnCutOff(FilePosition position, std::uint64_t bytes) override {
    mSink.OnCutOff(InFile(position), bytes);
  }

 private:
  // The parser gets the header first and then the file from the entry on.
  FilePosition InFile(FilePosition position) const {
    return position < mHeaderSize ? mHeaderPosition : position + mShift;
  }

  FramingSink& mSink;
  const FilePosition mHeaderPosition;
  const std::uint64_t mHeaderSize;
  const FilePosition mShift;  // may be negative, which wraps around
};

GrowingArchive::GrowingArchive(std::string path, FramingSink* sink)
    : mPath(std::move(path)), mSink(*sink) {}

GrowingArchive::~GrowingArchive() = default;

void GrowingArchive::BeginAtEnd() {
  const auto status = StatusOf(mPath);
  if (!status || status->stx_size == 0) return;
  mId = InodeOf(*status);
  mBeginAtEnd = status->stx_size;
}

void GrowingArchive::BeginAt(const EntryStart& start) {
  mStart = start;
}

FilePosition GrowingArchive::Position() const {
  if (mScan) return mScan->Position();
  return mBeginAtEnd.value_or(mStart.position);
}

GrowingArchive::Found GrowingArchive::Look() {
  // Looked up before reading: so what the file held when it lost its name is still read.
  const auto named = StatusOf(mPath);
  const Found nameless = errno == ENOENT || errno == ENOTDIR ? Found::kGone : Found::kNotRead;
  if (!mFile.IsOpen()) {
    if (!named) return Tell(nameless);
    if (mId && *mId != InodeOf(*named)) {
      Restart();
      return Found::kReplaced;
    }
    // A file at rest needs no handle.
    if (mId && named->stx_size == Position()) return Tell(Found::kNothing);
    if (!Open()) return Tell(Found::kNotRead);
  }
  const auto status = StatusOfOpen(mFile);
  if (!status) return Tell(Found::kNotRead);
  if (status->stx_size < Position()) {
    Restart();
    return Found::kShorter;
  }
  const FilePosition before = Position();
  if (status->stx_size > before) ReadUpTo(status->stx_size);
  if (named && InodeOf(*named) != *mId) {
    Restart();
    return Found::kReplaced;
  }
  if (Position() > before) {
    mTold = Found::kNothing;
    return Found::kMore;
  }
  return Tell(named ? Found::kNothing : nameless);
}

// Once, until something else is found.
GrowingArchive::Found GrowingArchive::Tell(Found found) {
  return std::exchange(mTold, found) == found ? Found::kNothing : found;
}

bool GrowingArchive::Open() {
  if (!mFile.Open(mPath, PlainFile::Mode::kRead)) return false;
  const auto status = StatusOfOpen(mFile);
  if (status && (!mId || *mId == InodeOf(*status))) {
    mId = InodeOf(*status);
    return true;
  }
  // It has just been replaced, which the next look finds.
  mFile.Close();
  return false;
}

void GrowingArchive::Close() {
  mFile.Close();
}

void GrowingArchive::Restart() {
  if (mParser) mParser->Finish();
  mScan.reset();
  mParser.reset();
  mPlaced.reset();
  mStart = EntryStart();
  mBeginAtEnd.reset();
  mId.reset();
  mTold = Found::kNothing;
  mFile.Close();
}

// Brings the parser to where reading begins.
void GrowingArchive::Prepare() {
  const OnBytesRead count = [this](std::uint64_t bytes) { mBytesRead += bytes; };
  if (mBeginAtEnd) mStart = LastEntry(mFile, *mBeginAtEnd, std::nullopt, count);
  mPlaced = std::make_unique<Placed>(&mSink, mStart);
  mParser.emplace(*mPlaced);
  mParser->Feed(mStart.header.data(), mStart.header.size());
  mScan.emplace(mFile, *mParser, mStart.position);
  if (!mBeginAtEnd) return;
  mPlaced->isOld = true;
  mScan->UpTo(*mBeginAtEnd, count);
  mPlaced->isOld = false;
}

void GrowingArchive::ReadUpTo(FilePosition end) {
  if (!mScan) Prepare();
  mScan->UpTo(end, [this](std::uint64_t bytes) { mBytesRead += bytes; });
}
