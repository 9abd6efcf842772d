#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/output_file.h"
#include "output/unfinished_file.h"

// Receives what is recorded until the user stops it. A plain file gets its name at the end; unlike
// an OutputFile, it is kept when writing fails, and it never replaces a file that has appeared or
// changed since the beginning.
class RecordingFile {
 public:
  // "-" is the standard output.
  explicit RecordingFile(const std::string& path);

  // Both throw Failure when the bytes cannot be written or the user interrupts.

  // Either all of these bytes are kept, or none.
  void Write(const std::vector<unsigned char>& bytes);
  // Returns the name of the file: a different one when something else has taken the name meanwhile.
  // Empty when there is no new file.
  std::string Finish();

  std::uint64_t BytesWritten() const { return mBytesWritten; }

 private:
  // Tells a file from any other, and from itself before a change.
  using State = std::array<std::uint64_t, 6>;

  std::optional<State> StateOfTarget() const;

  const std::string mPath;
  const std::optional<State> mBefore;  // of what is there at the beginning
  OutputFile mInPlace;                 // for what is written in place
  std::optional<UnfinishedFile> mFile;
  std::uint64_t mBytesWritten = 0;
};
