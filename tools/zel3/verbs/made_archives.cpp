#include "verbs/made_archives.h"

#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "output/output_refusal.h"
#include "samples/scenario_check.h"
#include "sources/archive_source.h"
#include "sources/index_place.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"
#include "system/passing_folder.h"

namespace {

void MakeFolder(const std::string& folder) {
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed) throw Failure("cannot create the folder " + folder + ": " + failed.message());
}

bool BeginsWith(const std::string& path, const std::vector<unsigned char>& bytes) {
  std::vector<unsigned char> start(bytes.size());
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(start.data()), static_cast<std::streamsize>(start.size()));
  return file && start == bytes;
}

// An archive made before begins with the same header.
bool MayBeReplaced(const std::string& path, const Scenario& scenario) {
  const auto status = StatusOf(path, Links::kNot);
  if (!status) return errno == ENOENT;
  const auto header = EncodeHeaderRecord(HeaderOf(scenario));
  return S_ISREG(status->stx_mode) && status->stx_nlink == 1 && header && BeginsWith(path, *header);
}

void RefuseWhatIsInTheWay(const std::string& path, const Scenario& scenario) {
  std::string inTheWay = MayBeReplaced(path, scenario) ? "" : archive_source::FileName(path);
  if (inTheWay.empty()) {
    const std::vector<std::string> strangers = StrangersBeside(path);
    if (!strangers.empty()) inTheWay = strangers.front();
  }
  if (inTheWay.empty()) return;
  throw Failure(inTheWay + " in " + path.substr(0, path.rfind('/')) +
                " is in the way: it was not made by this program");
}

// A cache beside an archive is not tied to its contents, and would be taken for that of the new
// file.
void RemoveCacheOf(const std::string& archive) {
  const CacheNames names = CacheOf(archive, "");
  for (const QString& name : {names.events, names.entries, names.headers}) QFile::remove(name);
}

void Move(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) == 0) return;
  throw Failure("cannot write " + to + ": " + std::strerror(errno));
}

}  // namespace

GroundTruth MakeArchives(const std::string& folder, const Scenario& scenario,
                         const std::string& truthFile) {
  CheckScenario(scenario);
  MakeFolder(folder);
  const PassingFolder aside(folder);
  GroundTruth truth = WriteScenario(aside.Path(), scenario);
  interruption::Check();

  std::vector<std::string> archives = archive_source::Files(folder);
  for (const GroundTruthFile& file : truth.files) {
    archives.push_back(folder + "/" + file.name);
    RefuseWhatIsInTheWay(archives.back(), scenario);
  }
  if (!truthFile.empty()) RefuseToHarm(archives, truthFile);
  for (const GroundTruthFile& file : truth.files) {
    const std::string path = folder + "/" + file.name;
    RemoveCacheOf(path);
    Move(aside.Path() + "/" + file.name, path);
  }
  return truth;
}
