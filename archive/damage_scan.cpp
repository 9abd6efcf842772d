#include "archive/damage_scan.h"

#include <algorithm>

namespace {

class DamageSink : public FramingSink {
 public:
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {}
  void OnIndex(FilePosition /*position*/, const IDX_T& /*index*/) override {}
  void OnData(FilePosition /*position*/, const DATA_T& /*head*/, const unsigned char* /*payload*/,
              Tag /*kind*/) override {}
  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {}
  void OnDamage(FilePosition /*position*/, std::uint64_t bytes) override { found.damaged += bytes; }
  void OnCutOff(FilePosition /*position*/, std::uint64_t bytes) override { found.cutOff += bytes; }

  Damage found;
};

}  // namespace

Damage DamageOf(const std::string& archive, const OnBytesRead& onBytesRead) {
  DamageSink sink;
  const ScannedBytes bytes = ScanArchive(archive, sink, onBytesRead);
  sink.found.damaged = std::max(sink.found.damaged, bytes.unreadable);
  return sink.found;
}
