#include "output/output_refusal.h"

#include <QFile>
#include <filesystem>

#include "output/unfinished_file.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

// The path with its folder made canonical, so that two paths to the same file are equal even when
// it does not exist yet.
std::string InCanonicalFolder(const std::string& path) {
  std::error_code ignored;
  const std::string absolute = std::filesystem::absolute(path, ignored).lexically_normal().string();
  return archive_source::CanonicalPath(archive_source::FolderOf(absolute)) + "/" +
         archive_source::FileName(absolute);
}

bool AreOne(const std::string& path, const std::string& other) {
  return InCanonicalFolder(path) == InCanonicalFolder(other) || AreOneFile(path, other);
}

void RefuseArchives(const std::vector<std::string>& files, const std::string& target) {
  for (const std::string& file : files) {
    if (AreOne(file, target)) throw Failure("the output is an archive of the source", kExitUsage);
  }
}

void RefuseCaches(const CacheNames& names, const std::string& target) {
  for (const QString& name : {names.entries, names.headers, names.events}) {
    if (AreOne(QFile::encodeName(name).constData(), target))
      throw Failure("the output is a cache file of the source", kExitUsage);
  }
}

std::string Stem(const std::string& path) {
  return path.substr(0, path.rfind('.'));
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void RefuseIndexOf(const std::string& archive, const CacheNames& index, const std::string& output) {
  // All three files have the same stem.
  const std::string ofSource = InCanonicalFolder(QFile::encodeName(index.entries).constData());
  for (const std::string& place : {output, WhereLinksLead(output)}) {
    if (Stem(ofSource) != Stem(InCanonicalFolder(place))) continue;
    throw Failure("the output would have the same index as " + archive + "; choose another name",
                  kExitUsage);
  }
}

// A cheap check of the name, before looking at folders. In a folder for indexes the name comes
// after a time.
bool MayShareIndex(const std::string& archive, const std::string& output) {
  const std::string stem = Stem(archive_source::FileName(archive));
  return EndsWith(Stem(output), stem) || EndsWith(Stem(WhereLinksLead(output)), stem);
}

}  // namespace

void RefuseToHarm(const SourceFacts& source, const std::string& output) {
  RefuseArchives(source.Files(), output);
  for (const std::string& archive : source.Archives()) {
    RefuseCaches(CacheOf(archive, ""), output);
    RefuseCaches(source.CacheOf(archive), output);
  }
}

void RefuseToHarm(const std::vector<std::string>& archives, const std::string& output) {
  RefuseArchives(archives, output);
  for (const std::string& archive : archives) RefuseCaches(CacheOf(archive, ""), output);
}

void RefuseToShareIndex(const SourceFacts& source, const std::string& output) {
  for (const std::string& archive : source.Archives()) {
    if (!MayShareIndex(archive, output)) continue;
    RefuseIndexOf(archive, CacheOf(archive, ""), output);
    RefuseIndexOf(archive, source.CacheOf(archive), output);
  }
}

void RefuseToShareIndex(const std::vector<std::string>& archives, const std::string& output) {
  for (const std::string& archive : archives) {
    if (MayShareIndex(archive, output)) RefuseIndexOf(archive, CacheOf(archive, ""), output);
  }
}
