#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "blocks/four_cc.h"
#include "blocks/units.h"
#include "parser/framing.h"

// Takes what a FramingParser finds, in stream order. Positions are bytes since the start of the
// stream. What is handed over is borrowed until return.
class FramingSink {
 public:
  virtual ~FramingSink() = default;

  // `position` is the place of the record's marker.
  virtual void OnHeader(FilePosition position, const ArchiveHeader& header) = 0;
  virtual void OnIndex(FilePosition position, const IDX_T& index) = 0;
  // `position` is the place of the head; `payload` has `head.length` bytes; `kind` is the tag of
  // blocks of its stream, 'Dat3' for an event.
  virtual void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
                      Tag kind) = 0;

  // `count` blocks of stream 0 follow each other from `position` on, each of the kind `kind`, with
  // neither flags nor payload: this is what zeros are where stream 0 is active. Called only for
  // zeros fed by FeedZeros; an override keeps the cost of a large hole small.
  virtual void OnEmptyData(FilePosition position, std::uint64_t count, Tag kind);

  // `bytes` bytes from `position` on made no sense and have been dropped.
  virtual void OnDamage(FilePosition /*position*/, std::uint64_t /*bytes*/) {}
  // The stream ended within the record at `position`, after `bytes` bytes of it.
  virtual void OnCutOff(FilePosition /*position*/, std::uint64_t /*bytes*/) {}
};

// Cuts a stream of archive bytes into its records. The stream comes in pieces of any size, cut
// anywhere; what is found does not depend on the cuts.
//
// The parser has lost its place when a data head names neither an event nor a stream that the last
// header declares active, or when a header is too short or its texts do not end where its length
// says. It then drops bytes up to the next marker, looking from one byte after the start of that
// record; the last good header stays in force. Until the first header no data is found.
//
// Holds at most one incomplete record. Used on one thread.
class FramingParser {
 public:
  // Borrows the sink.
  explicit FramingParser(FramingSink& sink);

  // Throws std::bad_alloc and what the sink throws. Nothing is lost then: when the same bytes are
  // fed again, the parser goes on with the very record, or damage, that the sink has not taken.
  void Feed(const unsigned char* bytes, std::size_t size);

  // The same as feeding `count` bytes that are 0, at a cost that does not grow with their number.
  // Throws what the sink throws; how much has been taken by then is not known.
  void FeedZeros(std::uint64_t count);

  // Forgets a half record: the next byte is the first of a record. The count of bytes goes on, and
  // the last header stays in force. Throws what the sink throws, and may then be called again.
  // REQUIRES: the last Feed did not throw.
  void Restart();

  // The end of the stream: tells the sink about bytes at its end that make no whole record, and
  // forgets them.
  void Finish();

 private:
  // How many of the next `count` zeros are dealt with at once, in the present state; 0: none.
  std::uint64_t PassZeros(std::uint64_t count);
  // Passes over bytes without looking at them.
  void Advance(std::uint64_t bytes);

  // Completes mHeld with bytes of the piece; false when the piece has too few.
  bool Hold(const unsigned char* bytes, std::size_t size);
  // The bytes given to these start at mPosition. This one moves mPosition past whole records and
  // dropped bytes; mWanted is then the number of bytes needed from there to go on.
  void ParseRecords(const unsigned char* bytes, std::size_t size);
  // Moves mPosition, too; returns the number of bytes dropped.
  std::size_t DropToMarker(const unsigned char* bytes, std::size_t size);
  // The size of the record; 0 when it is not whole yet.
  std::size_t ParseRecord(const unsigned char* bytes, std::size_t size);
  std::size_t ParseHeader(const unsigned char* bytes, std::size_t size);
  std::size_t ParseIndex(const unsigned char* bytes, std::size_t size);
  std::size_t ParseData(const unsigned char* bytes, std::size_t size);

  bool Reaches(std::size_t size, std::size_t wanted);
  void KeepKinds(const ArchiveHeader& header);
  // Marks the record at mPosition as damaged; returns 1, the number of bytes dropped at once.
  std::size_t LosePlace();
  void EndDamage();

  FramingSink& mSink;
  // By data type: the tag of its blocks, 0 for a type that has none.
  std::array<Tag, 256> mKinds{};
  // Places in the stream: all before mPosition is dealt with, all before mFed belongs to pieces
  // that have been taken.
  FilePosition mPosition = 0;
  FilePosition mFed = 0;
  // The start of a record that began in an earlier piece. Has room for any record from the
  // beginning.
  std::vector<unsigned char> mHeld;
  FilePosition mHeldFrom = 0;         // place of its first byte
  std::size_t mWanted = kMarkerSize;  // bytes from mPosition on
  bool mLost = false;
  FilePosition mLostAt = 0;  // while mLost: the start of the damage
};
