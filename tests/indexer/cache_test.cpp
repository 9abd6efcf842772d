#include "cache_test.h"

#include <QtGlobal>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

void Hear(QtMsgType, const QMessageLogContext&, const QString& message) {
  QtComplaints::Heard().push_back(Text(message));
}

}  // namespace

QtComplaints::QtComplaints() {
  Heard().clear();
  qInstallMessageHandler(Hear);
}

QtComplaints::~QtComplaints() {
  qInstallMessageHandler(nullptr);
}

Texts& QtComplaints::Heard() {
  static Texts heard;
  return heard;
}

CacheTest::CacheTest()
    : temporaryVariable("TMPDIR", temporary.Path().c_str()),
      settingsVariable("XDG_CONFIG_HOME", settings.Path().c_str()),
      archive(MakeArchive(folder / "cam.zel3")) {}

CacheTest::~CacheTest() {
  EXPECT_THAT(complaints.Heard(), testing::IsEmpty());
}

std::string CacheTest::MakeArchive(const std::string& path) const {
  WriteFile(path, std::string("the bytes of an archive, none of which may change"));
  SetModificationTime(path, kArchiveTime);
  return path;
}

void CacheTest::WriteCache(const Bytes& id3, const Bytes& hdr, const Bytes& evt) const {
  // Fresh files, because some file systems wait for the disk when one is overwritten.
  for (const char* kind : {"id3", "hdr", "evt"}) fs::remove(Beside(kind));
  WriteFile(Beside("id3"), id3);
  WriteFile(Beside("hdr"), hdr);
  WriteFile(Beside("evt"), evt);
}

void CacheTest::WriteSmallCache() const {
  WriteCache(Id3File({{100, 700}}), HdrFile({5}), EvtFile().Group(100, 700, 1).Event(0x80, "door"));
}

std::string CacheTest::Temporary() const {
  return fs::canonical(temporary.Path()).string() + "/";
}

Texts CacheTest::CacheSubfolderNames() const {
  return FileExists(CacheSubfolder()) ? EntryNames(CacheSubfolder()) : Texts();
}

Texts OpenFilesIn(const std::string& folder) {
  const fs::path wanted = fs::canonical(folder);
  Texts names;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const fs::path target = fs::read_symlink(entry.path(), gone);
    if (!gone && target.parent_path() == wanted) names.push_back(target.filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Contents ContentsOf(const sFile_Index_Store& store) {
  return {Shown(store.id3Records), Positions(store.headerPositions), Shown(store.events)};
}

bool operator==(const Contents& one, const Contents& other) {
  return one.records == other.records && one.headers == other.headers && one.events == other.events;
}

std::ostream& operator<<(std::ostream& stream, const Contents& contents) {
  return stream << testing::PrintToString(contents.records) << ' '
                << testing::PrintToString(contents.headers) << ' '
                << testing::PrintToString(contents.events);
}
