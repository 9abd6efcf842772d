// Loaded before a program's own libraries, this makes trouble with files as the environment says:
//   TROUBLE_STOP_BEFORE=N     the process stops (SIGSTOP) before its Nth change to the disk, from 1
//   TROUBLE_KILL_BEFORE=N     it is killed there
//   TROUBLE_BAD_FILE=PATH     reading the bytes FROM up to TO of this file is an input error
//   TROUBLE_BAD_FROM, TROUBLE_BAD_TO
//   TROUBLE_BAD_TIMES=N       only this many times; then they can be read

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdlib>

namespace {

// The number in an environment variable; `otherwise` when it is not set.
long long Number(const char* variable, long long otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoll(text);
}

template <class Function>
Function* Original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void BeforeChange() {
  static const long long stopAt = Number("TROUBLE_STOP_BEFORE", 0);
  static const long long killAt = Number("TROUBLE_KILL_BEFORE", 0);
  static long long changes = 0;
  ++changes;
  if (changes == stopAt) raise(SIGSTOP);
  if (changes == killAt) raise(SIGKILL);
}

bool IsBadFile(int file) {
  static const char* const path = std::getenv("TROUBLE_BAD_FILE");
  struct statx bad;
  struct statx read;
  return path != nullptr && statx(AT_FDCWD, path, 0, STATX_INO, &bad) == 0 &&
         statx(file, "", AT_EMPTY_PATH, STATX_INO, &read) == 0 && bad.stx_ino == read.stx_ino;
}

// How many of the bytes can be read before the bad ones; -1 when the first is bad.
long long Readable(int file, long long position, std::size_t size) {
  static const long long from = Number("TROUBLE_BAD_FROM", 0);
  static const long long to = Number("TROUBLE_BAD_TO", LLONG_MAX);
  static long long times = Number("TROUBLE_BAD_TIMES", LLONG_MAX);
  const auto wanted = static_cast<long long>(size);
  if (times == 0 || position >= to || position + wanted <= from || !IsBadFile(file)) return wanted;
  if (position < from) return from - position;
  --times;
  errno = EIO;
  return -1;
}

}  // namespace

extern "C" {

#define EXPORTED __attribute__((visibility("default")))

EXPORTED int TroubledOpen(const char* path, int flags, ...) asm("open64");
int TroubledOpen(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int mode = va_arg(arguments, int);
  va_end(arguments);
  if ((flags & O_CREAT) != 0) BeforeChange();
  return Original<int(const char*, int, ...)>("open64")(path, flags, mode);
}

EXPORTED ssize_t read(int file, void* bytes, std::size_t size) {
  const long long readable = Readable(file, lseek64(file, 0, SEEK_CUR), size);
  if (readable < 0) return -1;
  return Original<ssize_t(int, void*, std::size_t)>("read")(file, bytes,
                                                            static_cast<std::size_t>(readable));
}

EXPORTED ssize_t TroubledReadAt(int file, void* bytes, std::size_t size,
                                long long position) asm("pread64");
ssize_t TroubledReadAt(int file, void* bytes, std::size_t size, long long position) {
  const long long readable = Readable(file, position, size);
  if (readable < 0) return -1;
  return Original<ssize_t(int, void*, std::size_t, long long)>("pread64")(
      file, bytes, static_cast<std::size_t>(readable), position);
}

EXPORTED ssize_t write(int file, const void* bytes, std::size_t size) {
  if (file > STDERR_FILENO) BeforeChange();
  return Original<ssize_t(int, const void*, std::size_t)>("write")(file, bytes, size);
}

EXPORTED int TroubledTruncate(int file, long long size) asm("ftruncate64");
int TroubledTruncate(int file, long long size) {
  BeforeChange();
  return Original<int(int, long long)>("ftruncate64")(file, size);
}

EXPORTED int fdatasync(int file) {
  BeforeChange();
  return Original<int(int)>("fdatasync")(file);
}

EXPORTED int fsync(int file) {
  BeforeChange();
  return Original<int(int)>("fsync")(file);
}

EXPORTED int TroubledLock(int file, int operation) noexcept asm("flock");
int TroubledLock(int file, int operation) noexcept {
  BeforeChange();
  return Original<int(int, int)>("flock")(file, operation);
}

EXPORTED int mkdir(const char* path, mode_t mode) noexcept {
  BeforeChange();
  return Original<int(const char*, mode_t)>("mkdir")(path, mode);
}

EXPORTED int rename(const char* from, const char* to) noexcept {
  BeforeChange();
  return Original<int(const char*, const char*)>("rename")(from, to);
}

EXPORTED int unlink(const char* path) noexcept {
  BeforeChange();
  return Original<int(const char*)>("unlink")(path);
}
}
