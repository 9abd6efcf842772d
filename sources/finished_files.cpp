#include "sources/finished_files.h"

#include <algorithm>
#include <utility>

#include "sources/archive_source.h"

void FinishedFiles::Appeared(const std::string& path, Time now, Time written) {
  File& file = mFiles[path];
  file.number = ++mCount;
  file.folder = archive_source::FolderOf(path);
  file.written = written;
  file.isTaken = false;
  mNewest[file.folder] = now;
  mLast[file.folder] = file.number;
}

void FinishedFiles::Written(const std::string& path, Time now) {
  const auto file = mFiles.find(path);
  if (file == mFiles.end()) return;
  file->second.written = now;
  file->second.isTaken = false;
}

void FinishedFiles::Renamed(const std::vector<RenamedFile>& renamed) {
  std::vector<std::pair<std::string, File>> moved;
  for (const auto& [from, to] : renamed) {
    auto file = mFiles.extract(from);
    if (!file.empty()) moved.emplace_back(to.path, std::move(file.mapped()));
  }
  for (auto& [path, file] : moved) {
    file.folder = archive_source::FolderOf(path);
    file.isTaken = false;
    mFiles[path] = std::move(file);
  }
}

void FinishedFiles::Gone(const std::string& path) {
  mFiles.erase(path);
}

FinishedFiles::Time FinishedFiles::EndOf(const File& file) const {
  const Time quiet = file.written + kQuiet;
  const auto last = mLast.find(file.folder);
  if (last == mLast.end() || last->second <= file.number) return quiet;
  const Time next = mNewest.at(file.folder);
  // What is written to it long after the next one has come is still being written.
  if (file.written > next + kAfterNext) return quiet;
  return std::min(quiet, next + kAfterNext);
}

std::vector<std::string> FinishedFiles::Take(Time now) {
  std::vector<std::pair<std::uint64_t, std::string>> finished;
  for (auto& [path, file] : mFiles) {
    if (file.isTaken || EndOf(file) > now) continue;
    file.isTaken = true;
    finished.emplace_back(file.number, path);
  }
  std::sort(finished.begin(), finished.end());
  std::vector<std::string> paths;
  for (const auto& [number, path] : finished) paths.push_back(path);
  return paths;
}

std::optional<FinishedFiles::Time> FinishedFiles::Next() const {
  std::optional<Time> next;
  for (const auto& [path, file] : mFiles) {
    if (!file.isTaken) next = std::min(next.value_or(EndOf(file)), EndOf(file));
  }
  return next;
}
