#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct AVFormatContext;
struct AVPacket;

// Video in a Matroska file, written and read by libavformat, as others keep recordings.

// Writes `seconds` seconds of video. The first frame of each second is a key frame, and cues at the
// end of the file name it.
void WriteMatroska(const std::string& path, int seconds, int framesPerSecond,
                   std::size_t frameSize);

// A file open for reading. Errors of opening and seeking throw std::runtime_error.
class MatroskaReader {
 public:
  explicit MatroskaReader(const std::string& path);
  ~MatroskaReader();
  MatroskaReader(const MatroskaReader&) = delete;
  MatroskaReader& operator=(const MatroskaReader&) = delete;

  // Goes to the first frame of this second, counted from 0.
  void Seek(std::uint32_t second);
  // False at the end of the file. Otherwise the packet stays until the next call.
  bool ReadPacket();

  // When the packet starts, to the second.
  std::uint32_t Seconds() const;
  std::size_t PacketSize() const;

 private:
  AVFormatContext* mFile = nullptr;
  AVPacket* mPacket;
};
