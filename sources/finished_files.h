#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sources/followed_files.h"

// Tells when files that are being written are finished: nothing has been written to them for a
// while, or another file of their folder has come after what was last written to them.
class FinishedFiles {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;

  // A recorder that is alive writes more often.
  static constexpr std::chrono::seconds kQuiet{60};
  // What a recorder still writes to a file after it has begun the next one comes within this time.
  static constexpr std::chrono::milliseconds kAfterNext{200};

  // A file has appeared. `written`: when it was last written to, which may be earlier.
  void Appeared(const std::string& path, Time now, Time written);
  // Something was written to it.
  void Written(const std::string& path, Time now);
  void Renamed(const std::vector<RenamedFile>& renamed);
  void Gone(const std::string& path);

  // Those that are finished, in the order in which they have appeared: each once, and again when it
  // has been written to since, or has got another name.
  std::vector<std::string> Take(Time now);
  // When the next one may be finished.
  std::optional<Time> Next() const;

 private:
  struct File {
    std::uint64_t number = 0;  // in the order in which they have appeared
    std::string folder;
    Time written;
    bool isTaken = false;
  };

  Time EndOf(const File& file) const;

  std::map<std::string, File> mFiles;
  std::map<std::string, Time> mNewest;         // by folder: when the file that came last did so
  std::map<std::string, std::uint64_t> mLast;  // and its number
  std::uint64_t mCount = 0;
};
