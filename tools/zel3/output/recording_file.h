#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/output_file.h"
#include "output/unfinished_file.h"

// Where goes what is read until the user stops it. A plain file gets its name at the end; unlike an
// OutputFile it is kept when writing fails, and it never takes the place of a file that has come or
// changed since the beginning.
class RecordingFile {
 public:
  // "-" is the standard output.
  explicit RecordingFile(const std::string& path);

  // Both throw Failure when the bytes cannot be written or the user interrupts.

  // All of these bytes are kept, or none.
  void Write(const std::vector<unsigned char>& bytes);
  // The name of the file now: another one where something else has come to stand under the name.
  // Empty when there is no new file.
  std::string Finish();

  std::uint64_t BytesWritten() const { return mBytesWritten; }

 private:
  // Tells a file as it is from any other, and from itself when it has changed.
  using State = std::array<std::uint64_t, 6>;

  std::optional<State> StateOfTarget() const;

  const std::string mPath;
  const std::optional<State> mBefore;  // of what stands there at the beginning
  OutputFile mInPlace;                 // of what is written in place
  std::optional<UnfinishedFile> mFile;
  std::uint64_t mBytesWritten = 0;
};
