#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "archive/entry_at_end.h"
#include "archive/file_scan.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"
#include "parser/framing_parser.h"
#include "system/file_status.h"

// An archive file that may still be written: hands over what is new in it at each look, record by
// record. A record that is not whole yet is waited for; damage is passed over as ScanArchive passes
// over it, and told when the next record is found. No new byte is read twice. Of what is there
// when it begins at the end, all is read once to find the last entry, and what stands after that
// once more.
//
// The file is kept open between looks, so that what is written to it before it gets another name
// can still be read.
class GrowingArchive {
 public:
  // Borrows the sink. Nothing is opened yet. Positions are those of the file.
  GrowingArchive(std::string path, FramingSink* sink);
  ~GrowingArchive();
  GrowingArchive(const GrowingArchive&) = delete;
  GrowingArchive& operator=(const GrowingArchive&) = delete;

  // Only what is written from now on is handed over, including a record that is not whole yet. When
  // there is something, the header and the index record in force come before it. REQUIRES: no look
  // so far.
  void BeginAtEnd();
  // What stands before this entry is not handed over; the header in force is. REQUIRES: no look so
  // far.
  void BeginAt(const EntryStart& start);

  enum class Found {
    kNothing,
    kMore,      // has been handed over
    kShorter,   // than it was: the next look reads it from its beginning
    kReplaced,  // by another file of the name: likewise, after all that the earlier one held
    kGone,      // no file has the name any more; told once
    kNotRead,   // it cannot be opened, or is not a plain file; told once
  };

  // Throws what the sink throws, which leaves this object unusable, and Failure when the user
  // interrupts.
  Found Look();

  const std::string& Path() const { return mPath; }
  // The file has another name now.
  void MoveTo(const std::string& path) { mPath = path; }
  // Gives the handle back until the next look.
  void Close();
  // Which file it is; nothing before the first look, except after BeginAtEnd.
  const std::optional<InodeId>& Id() const { return mId; }
  bool IsOpen() const { return mFile.IsOpen(); }

  // How many bytes have been read in all, and how many of them could not be.
  std::uint64_t BytesRead() const { return mBytesRead; }
  std::uint64_t Unreadable() const { return mScan ? mScan->Unreadable() : 0; }

 private:
  // Hands a parser's finds on, at their places in the file.
  class Placed;

  bool Open();
  void Restart();
  void Prepare();
  void ReadUpTo(FilePosition end);
  FilePosition Position() const;
  Found Tell(Found found);

  std::string mPath;
  FramingSink& mSink;
  PlainFile mFile;
  std::optional<InodeId> mId;
  // Where to begin, until the first byte is read; then the scan knows.
  std::optional<FilePosition> mBeginAtEnd;
  EntryStart mStart;
  std::unique_ptr<Placed> mPlaced;
  std::optional<FramingParser> mParser;
  std::optional<FileScan> mScan;
  std::uint64_t mBytesRead = 0;
  Found mTold = Found::kNothing;
};
