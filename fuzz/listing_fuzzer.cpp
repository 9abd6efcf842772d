// A folder with any names of any kinds of entries is listed as Qt lists it: the same plain files in
// the same order, of the same sizes and times. What Qt lists besides are links to devices.

#include <sys/stat.h>

#include <QDateTime>
#include <QDir>
#include <algorithm>
#include <filesystem>

#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "indexer/folder_listing.h"

namespace {

constexpr int kMostEntries = 30;
constexpr const char* kEndings[] = {"", ".id3", ".hdr", ".evt", ".ID3", ".eVt", ".id3.", ".id"};

// A short name of any bytes, most of them with an ending that counts.
std::string NameOf(FuzzInput& input) {
  const Bytes taken = input.Take(input.Byte() % 12);
  std::string name(taken.begin(), taken.end());
  for (char& character : name) {
    if (character == '/' || character == '\0') character = '.';
  }
  return name + kEndings[input.Byte() % std::size(kEndings)];
}

// Makes nothing where a name cannot be.
void Make(const std::string& folder, const std::string& name, FuzzInput& input) {
  if (name.empty() || name == "." || name == "..") return;
  const std::string path = folder + "/" + name;
  if (FileExists(path)) return;
  std::error_code ignored;
  switch (input.Byte() % 8) {
    case 0:
      std::filesystem::create_directory(path, ignored);
      break;
    case 1:
      std::filesystem::create_symlink("missing", path, ignored);
      break;
    case 2:
      std::filesystem::create_symlink("..", path, ignored);
      break;
    case 3:
      std::filesystem::create_symlink("/dev/null", path, ignored);
      break;
    case 4:
      mkfifo(path.c_str(), 0600);
      break;
    case 5:
      std::filesystem::create_symlink("plain", path, ignored);
      break;
    default:
      WriteFile(path, Bytes(input.Byte()));
      SetModificationTime(path, static_cast<std::int32_t>(input.Number(4)));
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder process;
  const std::string folder = process / "listed";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  WriteFile(folder + "/plain", Bytes(3));
  FuzzInput input(bytes, size);
  for (int left = kMostEntries; left > 0 && !input.IsEmpty(); --left) {
    const std::string name = NameOf(input);
    Make(folder, name, input);
  }

  const QString path = QFile::decodeName(folder.c_str());
  const std::vector<ListedFile> listed = ListFolder(path, {".id3", ".hdr", ".evt"}, false);
  QFileInfoList expected = QDir(path).entryInfoList(
      {QLatin1String("*.id3"), QLatin1String("*.hdr"), QLatin1String("*.evt")}, QDir::Files,
      QDir::Unsorted);
  expected.erase(std::remove_if(expected.begin(), expected.end(),
                                [](const QFileInfo& file) { return !file.isFile(); }),
                 expected.end());
  FUZZ_REQUIRE(static_cast<int>(listed.size()) == expected.size());
  for (std::size_t i = 0; i < listed.size(); ++i) {
    const QFileInfo& file = expected.at(static_cast<int>(i));
    FUZZ_REQUIRE(DecodedName(listed[i].name) == file.fileName());
    FUZZ_REQUIRE(static_cast<qint64>(listed[i].size) == file.size());
    FUZZ_REQUIRE(listed[i].modified == file.lastModified().toMSecsSinceEpoch());
  }
  return 0;
}
