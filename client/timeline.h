#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "blocks/units.h"
#include "client/answers.h"
#include "client/proven_indexes.h"
#include "client/served_archive.h"
#include "sources/served_source.h"
#include "system/progress.h"

enum class Lookup {
  kAtOrBefore,
  kNext,      // the entry after the one at or before the time
  kPrevious,  // the entry before the one at or before the time
};

constexpr char kNothingRecorded[] = "nothing is recorded there";

// The archives of a source in the order of time. Each is served by a reader of its own, so that one
// that cannot be served costs its own time only; what the readers answer is joined here.
class Timeline {
 public:
  // Borrows both. Looks at every archive of the source; builds the indexes of those whose beginning
  // and end cannot be told without one. Throws Failure when the source holds no archive file and,
  // as all functions do, when the user interrupts.
  Timeline(ServedSource* source, Progress* progress);

  // By start; their numbers are their places. Those that turn out not to be servable stay, marked.
  const std::vector<ServedArchive>& Archives() const { return mArchives; }

  // Gives every archive its index. REQUIRES: none has been opened.
  void IndexAll(const IndexingOptions& options = {});
  // Does `work` for each archive, by its number, and shows how far that is. `what` says what is
  // done, such as "reading the index of".
  void ForEach(const std::string& what, const std::function<void(std::size_t number)>& work) const;
  // Throws Failure when no archive can be served.
  void RequireOne() const;

  // The archive, with its index, which is built when needed. Null when it cannot be served. Valid
  // until a few others have been opened. Where missing indexes are left out its reader must not be
  // asked: a reader changes what lies in a folder of indexes.
  OpenedArchive* Open(std::size_t number);

  // The entry that a time belongs to. A time in a gap between archives belongs to the first entry
  // after it, one before all archives to none.
  std::optional<FoundEntry> Find(ArchiveTime time, Lookup lookup);
  // The first entry at `time` or later; nothing for a time before all archives. REQUIRES: an
  // archive can be served.
  std::optional<FoundEntry> FirstFrom(ArchiveTime time);

  // Of the earliest entry and of the latest. REQUIRES: an archive can be served.
  ArchiveTime Start() const;
  ArchiveTime End() const;

  // Tells the user why an answer that rests on an archive is in doubt, once for each reason.
  void Doubt(std::size_t number, const std::string& why);

  // Whether everything that the files of the source hold is served, and nothing is in doubt.
  bool IsWhole() const;

  // Whether an index has been built.
  bool BuiltAnIndex() const { return mIndexes.BuiltAnIndex(); }

  // Ends the verb because nothing was found, or because no archive can be served; as incomplete
  // where files are left out. `hint` ends the message.
  [[noreturn]] void FailWithNothing(const std::string& what = kNothingRecorded,
                                    const std::string& hint = "") const;

 private:
  struct Opened {
    std::size_t number;
    std::unique_ptr<OpenedArchive> archive;
  };

  FoundEntry Entry(std::size_t number, const OpenedArchive& opened, std::size_t entry) const;
  std::optional<FoundEntry> FirstOfOrAfter(std::size_t number);
  std::optional<FoundEntry> LastBefore(std::size_t number);
  std::optional<FoundEntry> Next(const FoundEntry& found);
  std::optional<FoundEntry> Previous(const FoundEntry& found);

  ServedSource& mSource;
  Progress& mProgress;
  ProvenIndexes mIndexes;
  std::vector<ServedArchive> mArchives;
  std::list<Opened> mOpened;  // the one used last comes first
  std::set<std::pair<std::size_t, std::string>> mDoubts;
};
