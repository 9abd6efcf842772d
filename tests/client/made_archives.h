#pragma once

#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "archive/archive_writer.h"
#include "client/timeline.h"
#include "support/environment_value.h"
#include "support/folder_reader.h"
#include "support/sample_archive.h"

// A folder of small archives with indexes.
class MadeArchives {
 public:
  class NoProgress : public Progress {
   public:
    void Show(const WorkState& /*state*/) override {}
    void Clear() override {}
  };

  // The index time of an entry, and the level of its block of stream 1.
  using Entries = std::vector<std::pair<IndexTime, std::uint8_t>>;

  std::string Write(const std::string& name, const Entries& entries) const {
    const std::string path = mFolder / name;
    ArchiveWriter writer(path);
    writer.WriteHeader(OneStreamHeader());
    for (const auto& [time, level] : entries) {
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, level, nullptr, 0);
    }
    writer.Close();
    return path;
  }

  // What `ask` makes of the timeline of the folder, whose archives have been indexed; it may take
  // the source as well.
  template <class Question>
  auto Ask(Question ask) {
    // Readers of this program are kept away from the temporary folder.
    const EnvironmentValue temporary("TMPDIR", std::getenv("TMPDIR"));
    ServedSource source(HostOfThisBuild(), mFolder.Path(), MissingIndexes::kBuild,
                        [](const std::string& /*notice*/) {});
    Timeline timeline(&source, &mProgress);
    timeline.IndexAll();
    if constexpr (std::is_invocable_v<Question, Timeline*>) {
      return ask(&timeline);
    } else {
      return ask(&timeline, source);
    }
  }

 private:
  const TempFolder mFolder;
  NoProgress mProgress;
};
