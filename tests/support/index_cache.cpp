#include "support/index_cache.h"

#include <filesystem>

namespace {

template <class Integer>
void Append(Bytes* bytes, Integer value) {
  for (unsigned shift = 0; shift < 8 * sizeof(Integer); shift += 8) {
    bytes->push_back(static_cast<unsigned char>(value >> shift));
  }
}

}  // namespace

Bytes IndexCache::Id3() const {
  constexpr std::size_t kActivityPairs = 6;
  Bytes bytes;
  for (const Entry& entry : entries) {
    bytes.push_back(entry.flags);
    bytes.push_back(static_cast<unsigned char>(entry.activity.size()));
    Append<std::uint16_t>(&bytes, 0);
    Append(&bytes, entry.indexTime);
    Append(&bytes, entry.offset);
    for (const auto& pair : entry.activity) {
      bytes.push_back(pair.first);
      bytes.push_back(pair.second);
    }
    bytes.resize(bytes.size() + 2 * (kActivityPairs - entry.activity.size()));
  }
  return bytes;
}

Bytes IndexCache::Hdr() const {
  Bytes bytes;
  for (const std::uint64_t position : headers) Append(&bytes, position);
  return bytes;
}

Bytes IndexCache::Evt() const {
  Bytes bytes;
  for (const EventGroup& group : events) {
    Append(&bytes, group.indexTime);
    Append(&bytes, group.offset);
    bytes.push_back(static_cast<unsigned char>(group.events.size()));
    for (const auto& event : group.events) {
      bytes.push_back(event.first);
      bytes.insert(bytes.end(), event.second.begin(), event.second.end());
      bytes.push_back(0);
    }
  }
  return bytes;
}

void IndexCache::WriteBeside(const std::string& archivePath) const {
  ReplaceFile(CachePath(archivePath, "id3"), Id3());
  ReplaceFile(CachePath(archivePath, "hdr"), Hdr());
  ReplaceFile(CachePath(archivePath, "evt"), Evt());
}

void ReplaceFile(const std::string& path, const Bytes& content) {
  std::filesystem::remove(path);
  WriteFile(path, content);
}

std::string CachePath(const std::string& archivePath, const std::string& extension) {
  return archivePath.substr(0, archivePath.rfind('.') + 1) + extension;
}
