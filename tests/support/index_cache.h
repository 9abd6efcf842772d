#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_folder.h"

// The three cache files of an archive, written byte by byte.
struct IndexCache {
  struct Entry {
    std::uint32_t indexTime;
    std::uint32_t offset;
    std::vector<std::pair<std::uint8_t, std::uint8_t>> activity = {};  // stream id, level
    std::uint8_t flags = 0;
  };
  struct EventGroup {
    std::uint32_t indexTime;
    std::uint32_t offset;
    std::vector<std::pair<std::uint8_t, std::string>> events;  // type, text
  };

  std::vector<Entry> entries;
  std::vector<std::uint64_t> headers = {0};
  std::vector<EventGroup> events = {};

  Bytes Id3() const;
  Bytes Hdr() const;
  Bytes Evt() const;

  // Writes the files beside the archive.
  void WriteBeside(const std::string& archivePath) const;
};

// Puts a new file in the place of an old one. Writing over it would be slow where a file system
// waits for the disk when a file is emptied and filled anew.
void ReplaceFile(const std::string& path, const Bytes& content);

// The path of an archive with another extension: "id3", "hdr" or "evt".
std::string CachePath(const std::string& archivePath, const std::string& extension);
