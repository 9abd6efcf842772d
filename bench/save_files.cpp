// Writes files as a program must to have them safely on the disk: each is written under another
// name, flushed to the disk and renamed. The baseline for saving indexes.
//   save_files FOLDER TO    copies the index files of FOLDER (.hdr, .id3 and .evt), in the order of
//                           their names, to TO, an empty folder. Prints the milliseconds it took.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct File {
  std::string name;
  std::string bytes;
};

std::vector<File> IndexFilesOf(const std::string& folder) {
  std::vector<File> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string suffix = entry.path().extension().string();
    if (suffix != ".hdr" && suffix != ".id3" && suffix != ".evt") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    files.push_back({entry.path().filename().string(), {std::istreambuf_iterator<char>(file), {}}});
  }
  std::sort(files.begin(), files.end(),
            [](const File& one, const File& other) { return one.name < other.name; });
  return files;
}

bool Save(const File& file, const std::string& path) {
  const std::string unfinished = path + ".new";
  const int handle = open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const auto size = static_cast<ssize_t>(file.bytes.size());
  return handle >= 0 && write(handle, file.bytes.data(), file.bytes.size()) == size &&
         fsync(handle) == 0 && close(handle) == 0 &&
         std::rename(unfinished.c_str(), path.c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  const std::string to = argv[2];
  const std::vector<File> files = IndexFilesOf(argv[1]);
  const auto start = std::chrono::steady_clock::now();
  for (const File& file : files) {
    if (!Save(file, to + "/" + file.name)) return EXIT_FAILURE;
  }
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  std::printf("%.3f\n", taken.count());
  return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
