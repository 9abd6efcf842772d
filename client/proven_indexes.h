#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/index_fit.h"
#include "archive/kept_index.h"
#include "client/plug_ins.h"
#include "client/served_archive.h"
#include "sources/archive_identity.h"
#include "sources/served_source.h"
#include "system/progress.h"

// How the indexes of many archives are built.
struct IndexingOptions {
  std::size_t jobs = 1;     // how many processes build them
  bool findDamage = false;  // also looks for damage where it builds one
};

// Gives archives their own indexes. An index is believed only when it is seen to be that of its
// archive as it is now; what was seen is remembered. One that is not is built again, and the user
// is told; where missing indexes are left out, it serves as far as it is true.
//
// All functions throw Failure when the user interrupts.
class ProvenIndexes {
 public:
  // Borrows both.
  ProvenIndexes(ServedSource* source, Progress* progress);

  // Finds out what is known of an archive: from its index, or else when it begins and ends, from
  // the archive itself. One that does not tell that is given an index.
  void Look(ServedArchive* archive);

  // Gives the archive its index, or leaves it out; then the user is told.
  void Build(ServedArchive* archive);

  // The same for many archives. REQUIRES: none of them has been opened.
  void BuildAll(const std::vector<ServedArchive*>& archives, const IndexingOptions& options);

  // The archive with its index, which is built when needed. Null when it is left out. REQUIRES:
  // this object lives longer.
  std::unique_ptr<OpenedArchive> Open(ServedArchive* archive);

  // Whether an index has been built.
  bool BuiltAnIndex() const { return mBuiltAnIndex; }

 private:
  bool LeavesOutMissing() const { return mSource.Missing() == MissingIndexes::kLeaveOut; }
  ArchiveIdentity IdentityOf(const ServedArchive& archive) const;
  void Tell(const ServedArchive& archive, const std::string& what) const;
  bool LookIntoIndex(ServedArchive* archive);
  IndexFit FitWithCache(const ServedArchive& archive, const KeptIndex& index, const PlainFile& file,
                        const ArchiveIdentity& identity);
  void LookAtEnds(ServedArchive* archive);
  void BuildOneOfAll(ServedArchive* archive, const IndexingOptions& options);
  void BuildInOrder(const std::vector<ServedArchive*>& archives, const IndexingOptions& options);
  std::uint64_t WorkOn(const ServedArchive& archive, const IndexingOptions& options) const;
  void BuildInWorkers(const std::vector<ServedArchive*>& archives, const IndexingOptions& options);
  std::optional<ServedArchive::State> BuildOnce(const ServedArchive& archive);
  void Collect(ServedArchive* archive);
  std::optional<KeptIndex> LoadIndex(const ServedArchive& archive) const;
  void Accept(const IndexedSpan& span, const ArchiveIdentity& identity, ServedArchive* archive);
  void LeaveOut(const std::string& why, ServedArchive* archive);

  ServedSource& mSource;
  Progress* mProgress;
  const PlugIns mPlugIns;
  std::map<std::string, KeptIndex> mCollected;  // indexes that cannot be kept, by archive
  bool mBuiltAnIndex = false;
};
