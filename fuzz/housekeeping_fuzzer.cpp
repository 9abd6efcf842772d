// An archive of any name is opened with a folder for its index in which anything stands: of that at
// most the one file goes that is the oldest cache file where all are beyond the limit, and saving
// an index writes its three files only. What lies elsewhere stays as it is.

#include <QDateTime>
#include <QDir>
#include <climits>
#include <filesystem>
#include <map>
#include <set>

#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "host/host_settings.h"
#include "indexer/zel3_indexer.h"
#include "sources/cache_file_name.h"
#include "support/sparse_file.h"

namespace {

namespace fs = std::filesystem;

constexpr int kMostEntries = 12;
constexpr std::int64_t kMiB = 1048576;
constexpr std::int64_t kOldest = 1'000'000'000;

constexpr const char* kEndings[] = {
    ".id3", ".hdr", ".evt", ".ID3", ".zel3", ".id3.unfinished.id3", ".id3.bak", ""};

std::string NameOf(FuzzInput& input, std::size_t most) {
  const Bytes taken = input.Take(input.Byte() % most);
  std::string name(taken.begin(), taken.end());
  for (char& character : name) {
    if (character == '/' || character == '\0') character = '.';
  }
  return name;
}

void Make(const std::string& path, FuzzInput& input) {
  std::error_code ignored;
  if (fs::exists(fs::symlink_status(path, ignored))) return;
  const std::uint8_t kind = input.Byte();
  if (kind < 16) {
    fs::create_directory(path, ignored);
  } else if (kind < 32) {
    fs::create_symlink("missing", path, ignored);
  } else if (kind < 48) {
    fs::create_symlink("../elsewhere/kept.id3", path, ignored);
  } else {
    MakeSparseFile(path, input.Byte() * kMiB / 32 + input.Byte() % 2);
    SetModificationTime(path, kOldest + input.Byte() % 16);
  }
}

// The file that has to go, by what Qt says of the folder; empty when none has to.
std::string OldestBeyond(std::int64_t limit, const std::string& folder) {
  const QFileInfoList files =
      QDir(QFile::decodeName(folder.c_str()))
          .entryInfoList({QLatin1String("*.id3"), QLatin1String("*.hdr"), QLatin1String("*.evt")},
                         QDir::Files, QDir::Unsorted);
  std::int64_t total = 0;
  const QFileInfo* oldest = nullptr;
  for (const QFileInfo& file : files) {
    if (!file.isFile()) continue;
    total += file.size();
    if (oldest == nullptr || file.lastModified() < oldest->lastModified()) oldest = &file;
  }
  if (total <= limit || oldest == nullptr) return "";
  return QFile::encodeName(oldest->filePath()).constData();
}

// The names are those of files of the folder itself, which tell what they are.
void CheckNames(const CacheNames& names, const QString& folder) {
  const QString all[] = {names.entries, names.headers, names.events};
  const char* const endings[] = {".id3", ".hdr", ".evt"};
  const CacheKind kinds[] = {CacheKind::kEntries, CacheKind::kHeaders, CacheKind::kEvents};
  for (std::size_t i = 0; i < 3; ++i) {
    for (const QString& path : {all[i], UnfinishedName(all[i]), UnfinishedName(all[i], 7)}) {
      FUZZ_REQUIRE(path.startsWith(folder));
      FUZZ_REQUIRE(path.lastIndexOf(QLatin1Char('/')) == folder.size() - 1);
      FUZZ_REQUIRE(path.endsWith(QLatin1String(endings[i])));
      const std::string name = QFile::encodeName(path.mid(folder.size())).constData();
      const auto parts = CacheFileNameFrom(name);
      FUZZ_REQUIRE(parts && parts->kind == kinds[i]);
      if (path == all[i]) continue;
      FUZZ_REQUIRE(parts->isUnfinished && name.size() <= NAME_MAX);
    }
    FUZZ_REQUIRE(all[i].chopped(3) == all[0].chopped(3));
  }
}

// All that stands in a folder and below it, by path. Large files are nothing but holes.
using Snapshot = std::map<std::string, std::string>;
Snapshot SnapshotOf(const std::string& folder) {
  constexpr std::uint64_t kLargest = 4096;
  Snapshot snapshot;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    std::string& text = snapshot[entry.path().string()];
    text = std::to_string(static_cast<int>(entry.symlink_status().type()));
    if (entry.is_symlink() || !entry.is_regular_file()) continue;
    text += " " + std::to_string(entry.file_size()) + " ";
    if (entry.file_size() > kLargest) continue;
    const Bytes bytes = ReadFile(entry.path().string());
    text.append(bytes.begin(), bytes.end());
  }
  return snapshot;
}

// What was in `before` is in `after`, but for these.
void RequireKept(const Snapshot& before, const Snapshot& after,
                 const std::set<std::string>& others) {
  for (const auto& [path, content] : before) {
    if (others.count(path) > 0) continue;
    const auto kept = after.find(path);
    FUZZ_REQUIRE(kept != after.end() && kept->second == content);
  }
}

std::string Encoded(const QString& path) {
  return QFile::encodeName(path).constData();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder process;
  const std::string root = process / "root";
  const std::string cache = root + "/cache";
  fs::remove_all(root);
  for (const char* const folder : {"/cache", "/archives", "/elsewhere"})
    fs::create_directories(root + folder);
  WriteFile(root + "/elsewhere/kept.id3", Bytes(5));
  FuzzInput input(bytes, size);
  HostSettings settings;
  constexpr int kLimits[] = {0, 1, 2, 5, -1, 100, INT_MAX};
  const int limit = kLimits[input.Byte() % std::size(kLimits)];
  settings.fixedValues[cache_limit_setting::kKey] = limit;
  const SettingsInForce inForce(settings);

  const std::string archive = root + "/archives/a" + NameOf(input, 20) + "z";
  WriteFile(archive, Bytes(20));
  SetModificationTime(archive, static_cast<std::int32_t>(input.Number(4)));
  // Without a time, as Qt knows it, there is no name for an index.
  if (!QFileInfo(QFile::decodeName(archive.c_str())).lastModified().isValid()) return 0;
  for (int left = kMostEntries; left > 0 && !input.IsEmpty(); --left) {
    const std::string name = NameOf(input, 8);
    Make(cache + "/c" + name + kEndings[input.Byte() % std::size(kEndings)], input);
  }

  const Snapshot before = SnapshotOf(root);
  const std::string goes = OldestBeyond(limit * kMiB, cache);
  cZel3Indexer index;
  index.cacheFolder = QFile::decodeName(cache.c_str());
  index.Open_file_draft(QFile::decodeName(archive.c_str()));
  Snapshot expected = before;
  if (!goes.empty()) FUZZ_REQUIRE(expected.erase(goes) == 1);
  const Snapshot opened = SnapshotOf(root);
  FUZZ_REQUIRE(opened == expected);

  const QString folder = QFile::decodeName((cache + "/").c_str());
  const CacheNames names(QFile::decodeName(archive.c_str()), folder);
  CheckNames(names, folder);
  index.Save_files();
  std::set<std::string> own;
  for (const QString& name : {names.entries, names.headers, names.events}) {
    own.insert(Encoded(name));
    own.insert(Encoded(UnfinishedName(name)));
  }
  const Snapshot saved = SnapshotOf(root);
  RequireKept(opened, saved, own);
  RequireKept(saved, opened, own);
  return 0;
}
