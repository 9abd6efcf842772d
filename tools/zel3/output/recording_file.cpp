#include "output/recording_file.h"

#include <sys/stat.h>

#include <filesystem>

#include "system/failure.h"
#include "system/file_status.h"

namespace {

// How many other names are tried.
constexpr int kMostTried = 1000;

bool IsWrittenInPlace(const std::string& path) {
  const std::string target = WhereLinksLead(path);
  const auto status = StatusOf(target);
  return OutputFile::IsStandardOutput(path) || NamesAnOpenFile(target) ||
         (status && !S_ISREG(status->stx_mode));
}

// recording.zel3, 1: recording-1.zel3
std::string Numbered(const std::string& path, int number) {
  const std::filesystem::path whole = path;
  std::filesystem::path name = whole.stem();
  name += "-" + std::to_string(number);
  name += whole.extension();
  return (whole.parent_path() / name).string();
}

}  // namespace

RecordingFile::RecordingFile(const std::string& path)
    : mPath(path), mBefore(StateOfTarget()), mInPlace(path) {}

std::optional<RecordingFile::State> RecordingFile::StateOfTarget() const {
  const auto status = StatusOf(mPath);
  if (!status) return std::nullopt;
  const InodeId id = InodeOf(*status);
  return State{id[0],
               id[1],
               id[2],
               status->stx_size,
               static_cast<std::uint64_t>(status->stx_mtime.tv_sec),
               status->stx_mtime.tv_nsec};
}

void RecordingFile::Write(const std::vector<unsigned char>& bytes) {
  if (!mFile && IsWrittenInPlace(mPath)) {
    mInPlace.Write(bytes);
  } else {
    if (!mFile) mFile.emplace(mPath);
    mFile->Write(bytes.data(), bytes.size());
  }
  mBytesWritten += bytes.size();
}

std::string RecordingFile::Finish() {
  if (!mFile) {
    mInPlace.Finish();
    return "";
  }
  mFile->CutToWhole();
  mFile->Save();
  using Existing = UnfinishedFile::Existing;
  if (StateOfTarget() == mBefore) {
    mFile->TakeName(mPath, mBefore ? Existing::kReplace : Existing::kKeep);
    return mPath;
  }
  std::string name;
  for (int number = 1; number < kMostTried; ++number) {
    name = Numbered(mPath, number);
    if (!StatusOf(name, Links::kNot)) break;
  }
  mFile->TakeName(name, Existing::kKeep);
  return name;
}
