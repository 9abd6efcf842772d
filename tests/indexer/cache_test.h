#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>

#include "cache_bytes.h"
#include "indexer/file_cuts.h"
#include "indexer/zel3_indexer.h"
#include "stores_for_tests.h"
#include "support/environment_value.h"
#include "support/temp_folder.h"

// When archives of these tests were last modified, and how cache names say so.
constexpr std::int64_t kArchiveTime = 1367935389;
constexpr char kArchiveTimeInNames[] = "13.05.07 14-03-09 ";

// What Qt complains about; nothing of it may reach the host's log.
class QtComplaints {
 public:
  QtComplaints();
  ~QtComplaints();
  QtComplaints(const QtComplaints&) = delete;
  QtComplaints& operator=(const QtComplaints&) = delete;

  static Texts& Heard();
};

// An archive folder with an archive "cam.zel3", and temporary and settings folders of the test's
// own.
class CacheTest : public testing::Test {
 protected:
  CacheTest();
  ~CacheTest() override;

  // Makes an archive file, or the archive again.
  std::string MakeArchive(const std::string& path) const;
  // The cache file beside the archive: "id3", "hdr" or "evt".
  std::string Beside(const std::string& kind) const { return folder / ("cam." + kind); }
  // Cache files of the archive.
  void WriteCache(const Bytes& id3, const Bytes& hdr, const Bytes& evt) const;
  // A cache with one entry, header and event.
  void WriteSmallCache() const;
  bool Open(std::uint64_t endPosition = 9000) {
    return index.Open_file(Path(archive), endPosition);
  }

  // The temporary folder and the cache folder in it, each with a trailing "/".
  std::string Temporary() const;
  std::string CacheSubfolder() const { return Temporary() + "Vorn auxillary files/"; }
  // Names in the cache folder; empty also when there is none.
  Texts CacheSubfolderNames() const;
  Texts ArchiveFolderNames() const { return EntryNames(folder.Path()); }

  const TempFolder folder;
  const TempFolder temporary;
  const TempFolder settings;
  const EnvironmentValue temporaryVariable;
  const EnvironmentValue settingsVariable;
  const QtComplaints complaints;
  const std::string archive;
  cZel3Indexer index;
};

// Files of this process that are open in a folder, by name.
Texts OpenFilesIn(const std::string& folder);

// What is in `current` after filling or loading it.
struct Contents {
  Texts records;
  std::vector<std::uint64_t> headers;
  Texts events;
};
Contents ContentsOf(const sFile_Index_Store& store);
bool operator==(const Contents& one, const Contents& other);
std::ostream& operator<<(std::ostream& stream, const Contents& contents);
