// What the checkup says of any archive with anything under the names of its cache files: as many
// entries, streams and damaged bytes as a parser finds, places within the files, and that an index
// is sound when it is what a run would write and, without damage, only then. Nothing is changed.

#include <bitset>
#include <set>

#include "archive/damage_scan.h"
#include "archive/exact_index.h"
#include "archive_input.h"
#include "checkup/archive_checkup.h"
#include "fuzz_folder.h"
#include "hostile_cache.h"
#include "sources/source_facts.h"
#include "support/folder_snapshot.h"

namespace {

// A checkup of smaller files says only that they are.
constexpr std::size_t kSmallestBytes = 16;

// What a parser finds in one piece of memory.
class PlainCounts : public FramingSink {
 public:
  void OnHeader(FilePosition /*position*/, const ArchiveHeader& /*header*/) override {}
  void OnIndex(FilePosition /*position*/, const IDX_T& /*index*/) override { ++entries; }
  void OnData(FilePosition /*position*/, const DATA_T& head, const unsigned char* /*payload*/,
              Tag /*kind*/) override {
    if (!IsEventType(head.type)) streams.set(head.type);
  }
  void OnDamage(FilePosition /*position*/, std::uint64_t bytes) override {
    damage.damaged += bytes;
  }
  void OnCutOff(FilePosition /*position*/, std::uint64_t bytes) override { damage.cutOff += bytes; }

  std::uint64_t entries = 0;
  std::bitset<256> streams;
  Damage damage;
};

PlainCounts CountsOf(const Bytes& archive) {
  PlainCounts counts;
  FramingParser parser(counts);
  parser.Feed(archive.data(), archive.size());
  parser.Finish();
  return counts;
}

std::uint64_t BytesOf(const std::vector<Finding>& findings, std::set<FindingKind> kinds) {
  std::uint64_t bytes = 0;
  for (const Finding& finding : findings)
    if (kinds.count(finding.kind) > 0) bytes += finding.bytes.value_or(0);
  return bytes;
}

void CheckFindings(const std::vector<Finding>& findings, const PlainCounts& counts,
                   std::uint64_t size) {
  for (const Finding& finding : findings) {
    FUZZ_REQUIRE(!finding.file.empty() && !finding.text.empty());
    const std::uint64_t bytes = finding.more > 0 ? 0 : finding.bytes.value_or(0);
    if (finding.position) FUZZ_REQUIRE(*finding.position + bytes <= size);
  }
  using Kind = FindingKind;
  FUZZ_REQUIRE(BytesOf(findings, {Kind::kCutOff}) == counts.damage.cutOff);
  if (size < kSmallestBytes) return;
  FUZZ_REQUIRE(BytesOf(findings, {Kind::kDamage, Kind::kNoHeader}) == counts.damage.damaged);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder process;
  static const TempFolder folder;
  static const std::string path = folder / "cam.zel3";
  ArchiveInput input(bytes, size);
  WriteFile(path, input.archive);
  WriteHostileCache(path, input.archive, &input.choices);
  const FolderSnapshot before = SnapshotOf(folder.Path());

  const SourceFacts source({}, path);
  Findings found;
  const ArchiveFacts facts = CheckArchive(path, source, &found, [](std::uint64_t) {});
  FUZZ_REQUIRE(SnapshotOf(folder.Path()) == before);

  const PlainCounts counts = CountsOf(input.archive);
  FUZZ_REQUIRE(facts.bytes == input.archive.size());
  FUZZ_REQUIRE(facts.entries == counts.entries);
  FUZZ_REQUIRE(facts.streams == counts.streams);
  FUZZ_REQUIRE(facts.startTime <= facts.endTime);
  CheckFindings(found.All(), counts, input.archive.size());
  const Damage damage = DamageOf(path);
  FUZZ_REQUIRE(damage.damaged == counts.damage.damaged && damage.cutOff == counts.damage.cutOff);

  if (source.Archives().empty()) return 0;
  const bool isExact = IsExactIndex(source.CacheOf(path), path);
  const bool isSound = facts.cache == CacheState::kSound;
  if (isExact) FUZZ_REQUIRE(isSound);
  if (isSound && damage.IsNone()) FUZZ_REQUIRE(isExact);
  return 0;
}
