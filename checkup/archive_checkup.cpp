#include "checkup/archive_checkup.h"

#include <fmt/format.h>

#include <fstream>
#include <functional>
#include <limits>

#include "archive/archive_recognition.h"
#include "archive/archive_scan.h"
#include "blocks/byte_cursor.h"
#include "checkup/archive_indexes.h"
#include "checkup/times_checkup.h"
#include "checkup/unkept_events.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_data.h"
#include "system/file_status.h"

namespace {

// A reader does not open a smaller file.
constexpr std::uint64_t kSmallestArchiveBytes = 16;

// Whether an index marker stands in a file at a position, which may be anything that a header
// names.
bool HasIndexMarkerAt(const std::string& path, std::int64_t position) {
  unsigned char bytes[kMarkerSize] = {};
  std::ifstream file(path, std::ios::binary);
  if (position < 0 || !file.seekg(position)) return false;
  file.read(reinterpret_cast<char*>(bytes), sizeof(bytes));
  return file && LoadLittleEndian<std::uint32_t>(bytes) == kIndexMarker;
}

ArchiveSize SizeOfArchive(const std::string& path) {
  const FileHandle file = OpenForReading(path);
  const auto status = StatusOf(file);
  return {status ? status->stx_size : 0, DataBytes(file)};
}

// Notes what a parser finds.
class ArchiveCheckup : public FramingSink {
 public:
  ArchiveCheckup(const std::string& path, const SourceFacts& source, Findings* findings)
      : mPath(path),
        mSource(source),
        mIndexes(path, source.IndexFolderOf(path), SizeOfArchive(path)),
        mTimes(archive_source::FileName(path), findings),
        mFindings(findings) {
    mFacts.path = path;
    mFacts.name = source.NameOf(path);
  }

  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    mIndexes.ForEach([&](CacheCheckup& cache) { cache.OnHeader(position); });
    for (const StreamDescriptor& stream : header.streams)
      mFacts.streamNames[stream.id] = stream.name;
    if (mHasHeader) return;
    mHasHeader = true;
    if (mHeaderless.stretches > 0) {
      mFindings->Add(AboutHeaderless(FindingKind::kDamage, "cannot be read without a header"));
    }
    CheckFirstHeader(position, header);
  }

  void OnIndex(FilePosition position, const IDX_T& index) override {
    mIndexes.ForEach([&](CacheCheckup& cache) { cache.OnIndex(position, index); });
    mUnkeptEvents.OnIndex(position);
    mTimes.OnIndex(position, ToArchiveTime(index.time));
  }

  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    mIndexes.ForEach([&](CacheCheckup& cache) { cache.OnData(head, payload); });
    if (IsEventType(head.type)) {
      mUnkeptEvents.OnEvent(head, payload);
    } else {
      mFacts.streams.set(head.type);
    }
  }

  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {
    mFacts.streams.set(0);
  }

  void OnDamage(FilePosition position, std::uint64_t bytes) override {
    Lose(position, position + bytes);
    // Bytes at the start of a file may be a destroyed header; data after it is then merely not
    // known.
    if (!mHasHeader && position > 0) {
      mHeaderless.Add(position, bytes);
      return;
    }
    mTimes.OnDamage();
    const Finding finding = About(FindingKind::kDamage, "is not a record; skipped");
    AddBytes(finding, position, bytes);
  }

  void OnCutOff(FilePosition position, std::uint64_t bytes) override {
    Lose(position, std::numeric_limits<FilePosition>::max());
    const Finding finding = About(FindingKind::kCutOff, "the last record is not whole");
    AddBytes(finding, position, bytes);
  }

  ArchiveFacts Finish(const ScannedBytes& bytes) {
    mFacts.bytes = bytes.all;
    mTimes.OnEnd();
    mFacts.entries = mTimes.Entries();
    mFacts.startTime = mTimes.Start();
    mFacts.endTime = mTimes.End();
    mFacts.step = mTimes.Step();
    if (bytes.unreadable > 0) {
      Finding finding = About(FindingKind::kUnreadable, "cannot be read in part");
      finding.bytes = bytes.unreadable;
      mFindings->Add(finding);
    }
    if (bytes.all < kSmallestArchiveBytes) {
      mFindings->Add(About(FindingKind::kTooSmall, "readers skip so small a file"));
    } else if (!mHasHeader) {
      mFindings->Add(
          AboutHeaderless(FindingKind::kNoHeader, "without a header nothing can be read"));
    } else if (mFacts.entries == 0) {
      mFindings->Add(About(FindingKind::kNoIndex, "without an index record no time can be found"));
    }
    if (mSource.Others().count(mPath) > 0) return mFacts;
    if (!archive_source::IsKnownToParsers(mPath)) {
      mFindings->Add(About(FindingKind::kNoParser,
                           "no parser knows files with such a name, so no index can be built"));
    }
    AddStrangers();
    // What cannot be read cannot be compared; an index may know more of it.
    if (bytes.unreadable == 0) mFacts.cache = mIndexes.Finish(mFindings);
    AddUnkeptEvents();
    return mFacts;
  }

 private:
  // Data before the first header. In an archive without a header that is all data: a stretch after
  // each index record.
  struct Headerless {
    void Add(FilePosition position, std::uint64_t count) {
      if (stretches++ == 0) first = position;
      bytes += count;
    }

    std::uint64_t stretches = 0;
    std::uint64_t bytes = 0;
    FilePosition first = 0;
  };

  Finding AboutHeaderless(FindingKind kind, const std::string& text) const {
    Finding finding = About(kind, text);
    if (mHeaderless.stretches == 0) return finding;
    finding.text +=
        fmt::format("; {} skipped", mHeaderless.stretches == 1
                                        ? "1 stretch is"
                                        : fmt::format("{} stretches are", mHeaderless.stretches));
    finding.position = mHeaderless.first;
    finding.bytes = mHeaderless.bytes;
    return finding;
  }

  void Lose(FilePosition begin, FilePosition end) {
    mIndexes.ForEach([&](CacheCheckup& cache) { cache.OnLost(begin, end); });
  }

  void AddUnkeptEvents() {
    mUnkeptEvents.OnEnd();
    if (mUnkeptEvents.Count() == 0) return;
    Finding finding =
        About(FindingKind::kEventsNotKept,
              fmt::format("no index can hold {} of the {} events: {}", mUnkeptEvents.Count(),
                          mUnkeptEvents.All(), mUnkeptEvents.Why()));
    finding.position = mUnkeptEvents.Position();
    mFindings->Add(finding);
  }

  void AddStrangers() {
    if (!mSource.PlaceOf(mPath).isPrivate) return;
    for (const std::string& stranger : StrangersBeside(mPath)) {
      mFindings->Add({FindingKind::kStranger, stranger,
                      "has the name of a cache file but is not one, and is left alone"});
    }
  }

  void AddBytes(Finding finding, FilePosition position, std::uint64_t bytes) {
    finding.position = position;
    finding.bytes = bytes;
    mTimes.AddInEntry(finding);
  }

  void CheckFirstHeader(FilePosition position, const ArchiveHeader& header) {
    // Other files are never opened by their first and last index records.
    if (!archive_source::IsKnownToParsers(mPath)) return;
    const std::int64_t named = header.length + header.firstIndexDelta;
    const bool isLate = position + kMarkerSize > kSearchedHeadBytes;
    if (!isLate && HasIndexMarkerAt(mPath, named)) return;
    Finding finding =
        isLate ? About(FindingKind::kLateHeader, "folders open without this file")
               : About(FindingKind::kFirstIndexPlace,
                       fmt::format("names byte {}, where no index record is; folders open without "
                                   "this file",
                                   named));
    finding.position = position;
    mFindings->Add(finding);
  }

  Finding About(FindingKind kind, const std::string& text) const {
    return {kind, archive_source::FileName(mPath), text};
  }

  const std::string mPath;
  const SourceFacts& mSource;
  ArchiveIndexes mIndexes;
  UnkeptEvents mUnkeptEvents;
  TimesCheckup mTimes;
  Findings* const mFindings;
  ArchiveFacts mFacts;
  bool mHasHeader = false;
  Headerless mHeaderless;
};

// `scan` hands what a parser finds to the sink.
ArchiveFacts Check(const std::string& path, const SourceFacts& source, Findings* findings,
                   const std::function<ScannedBytes(FramingSink&)>& scan) {
  try {
    ArchiveCheckup checkup(path, source, findings);
    return checkup.Finish(scan(checkup));
  } catch (const Failure& error) {
    if (error.Code() == kExitInterrupted) throw;
    findings->Add({FindingKind::kUnreadable, archive_source::FileName(path), error.what()});
    ArchiveFacts unread;
    unread.path = path;
    unread.name = source.NameOf(path);
    return unread;
  }
}

}  // namespace

ArchiveFacts CheckArchive(const std::string& path, const SourceFacts& source, Findings* findings,
                          const OnBytesRead& onBytesRead) {
  return Check(path, source, findings,
               [&](FramingSink& sink) { return ScanArchive(path, sink, onBytesRead); });
}

ArchiveFacts CheckArchive(const std::string& path, const SourceFacts& source, Findings* findings,
                          const OnBytesRead& onBytesRead, const WaitForBytes& waitForBytes) {
  return Check(path, source, findings, [&](FramingSink& sink) {
    return ScanArchive(path, sink, onBytesRead, waitForBytes);
  });
}
