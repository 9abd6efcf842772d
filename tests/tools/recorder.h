#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/archive_builder.h"

// A recorder: writes an archive a few bytes at a time, which is how files grow.
class Recorder {
 public:
  explicit Recorder(const std::string& path) : mPath(path) {
    mArchive.Header({{1}});
    Write();
  }

  void Note(std::uint32_t time, const std::string& text) {
    mArchive.Index(time).Data(0xFA, 0, text).Data(1, 0, "picture");
    Write();
  }
  // One second of a stream without an event.
  void Picture(std::uint32_t time) {
    mArchive.Index(time).Data(1, 0, "picture");
    Write();
  }
  void Damage() {
    mArchive.Filler(20);
    Write();
  }
  void MoveTo(const std::string& path) {
    std::filesystem::rename(mPath, path);
    mPath = path;
  }
  // Call this when its folder has been renamed.
  void IsAt(const std::string& path) { mPath = path; }

  const Bytes& Content() const { return mArchive.Content(); }

 private:
  void Write() {
    constexpr std::size_t kAtOnce = 7;
    std::ofstream file(mPath, std::ios::binary | std::ios::app);
    for (; mWritten < mArchive.Size(); mWritten += kAtOnce) {
      const std::size_t size = std::min(kAtOnce, mArchive.Size() - mWritten);
      file.write(reinterpret_cast<const char*>(mArchive.Content().data() + mWritten),
                 static_cast<std::streamsize>(size));
      file.flush();
    }
    mWritten = mArchive.Size();
  }

  std::string mPath;
  ArchiveBuilder mArchive{"cam"};
  std::size_t mWritten = 0;
};
