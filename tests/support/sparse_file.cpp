#include "support/sparse_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

void MakeSparseFile(const std::string& path, std::int64_t size) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  const bool made = file >= 0 && ftruncate(file, static_cast<off_t>(size)) == 0;
  if (file >= 0) close(file);
  if (!made) throw std::runtime_error("cannot make a file of that size: " + path);
}
