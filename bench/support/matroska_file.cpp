#include "matroska_file.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

constexpr int kMillisecondsPerSecond = 1000;

// By default the library keeps at most half of a day's cues, and then seeks to the wrong places.
constexpr unsigned kRoomForAllCues = 64 << 20;

void Require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string("cannot ") + what);
}

}  // namespace

void WriteMatroska(const std::string& path, int seconds, int framesPerSecond,
                   std::size_t frameSize) {
  AVFormatContext* file = nullptr;
  Require(avformat_alloc_output_context2(&file, nullptr, "matroska", path.c_str()), "make a file");
  AVStream* const stream = avformat_new_stream(file, nullptr);
  stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  stream->codecpar->codec_id = AV_CODEC_ID_MJPEG;
  stream->codecpar->width = 640;
  stream->codecpar->height = 480;
  Require(avio_open(&file->pb, path.c_str(), AVIO_FLAG_WRITE), "open a file for writing");
  Require(avformat_write_header(file, nullptr), "write a header");

  std::vector<unsigned char> bytes(frameSize);
  std::mt19937 random(1);
  std::generate(bytes.begin(), bytes.end(), [&random] { return random() & 0xFF; });
  AVPacket* packet = av_packet_alloc();
  const int duration = kMillisecondsPerSecond / framesPerSecond;
  for (int i = 0; i < seconds * framesPerSecond; ++i) {
    packet->data = bytes.data();
    packet->size = static_cast<int>(frameSize);
    packet->pts = packet->dts = std::int64_t(i) * duration;
    packet->duration = duration;
    packet->flags = i % framesPerSecond == 0 ? AV_PKT_FLAG_KEY : 0;
    Require(av_write_frame(file, packet), "write a packet");
  }
  av_packet_free(&packet);
  Require(av_write_trailer(file), "write the cues");
  avio_closep(&file->pb);
  avformat_free_context(file);
}

MatroskaReader::MatroskaReader(const std::string& path) : mPacket(av_packet_alloc()) {
  mFile = avformat_alloc_context();
  mFile->max_index_size = kRoomForAllCues;
  Require(avformat_open_input(&mFile, path.c_str(), nullptr, nullptr), "open a file");
}

MatroskaReader::~MatroskaReader() {
  av_packet_free(&mPacket);
  avformat_close_input(&mFile);
}

void MatroskaReader::Seek(std::uint32_t second) {
  const std::int64_t time = std::int64_t(second) * kMillisecondsPerSecond;
  Require(av_seek_frame(mFile, 0, time, AVSEEK_FLAG_BACKWARD), "seek");
}

bool MatroskaReader::ReadPacket() {
  av_packet_unref(mPacket);
  return av_read_frame(mFile, mPacket) == 0;
}

std::uint32_t MatroskaReader::Seconds() const {
  return static_cast<std::uint32_t>(mPacket->pts / kMillisecondsPerSecond);
}

std::size_t MatroskaReader::PacketSize() const {
  return static_cast<std::size_t>(mPacket->size);
}
