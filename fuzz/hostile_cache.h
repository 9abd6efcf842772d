#pragma once

#include <unistd.h>

#include <string>

#include "exact_cache.h"
#include "support/temp_folder.h"

// What may stand beside an archive under the names of its cache files.

constexpr const char* kCacheEndings[] = {"id3", "hdr", "evt"};

inline std::string CacheFileOf(const std::string& archive, std::size_t number) {
  return archive.substr(0, archive.rfind('.') + 1) + kCacheEndings[number % 3];
}

// Changes one of the files: a byte, its length, or all of it.
inline void ChangeCache(const std::string& archive, FuzzInput* choices) {
  const std::string path = CacheFileOf(archive, choices->Byte());
  const std::uint8_t change = choices->Byte();
  const std::size_t at = choices->Byte();
  const std::uint8_t value = choices->Byte();
  Bytes content = ReadFile(path);
  switch (change % 4) {
    case 0:
      if (!content.empty()) content[at % content.size()] = value;
      break;
    case 1:
      content.resize(at % (content.size() + 1));
      break;
    case 2:
      content.insert(content.end(), at % 32, value);
      break;
    default:
      unlink(path.c_str());
      return;
  }
  WriteFile(path, content);
}

// Writes none, those of the archive, those with a few changes, or any bytes, which are taken from
// the archive.
inline void WriteHostileCache(const std::string& archive, const Bytes& bytes, FuzzInput* choices) {
  for (std::size_t i = 0; i < 3; ++i) unlink(CacheFileOf(archive, i).c_str());
  const std::uint8_t kind = choices->Byte() % 4;
  if (kind == 0) return;
  if (kind < 3) WriteExactCache(archive);
  for (int left = kind == 2 ? 2 : 0; left > 0; --left) ChangeCache(archive, choices);
  if (kind < 3) return;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t from = choices->Number(2) % (bytes.size() + 1);
    const std::size_t size = choices->Byte() % (bytes.size() - from + 1);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    WriteFile(CacheFileOf(archive, i), Bytes(begin, begin + static_cast<std::ptrdiff_t>(size)));
  }
}
