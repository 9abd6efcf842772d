// The functions through which the standard library and Qt reach files, in place of the C library's:
// each asks here first whether it is to fail.

#include "support/file_faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

struct Plan {
  std::optional<FileOperation> kind;
  int first = 0;
  FileFaults::Repeats repeats = FileFaults::Repeats::kOnce;
  int error = 0;
  std::function<void()> act;
  int counted = 0;
  int struck = 0;
};

thread_local Plan* plan = nullptr;

struct Damage {
  dev_t device;
  ino_t inode;
  std::vector<UnreadableBytes::Range> ranges;
  UnreadableBytes::Reads reads;
  std::vector<std::uint64_t> failedAt;
};

thread_local Damage* damage = nullptr;

// How much of a read the damage lets through; none where it makes it fail.
std::size_t Readable(int file, std::size_t size, std::uint64_t position) {
  struct stat status;
  if (damage == nullptr || fstat(file, &status) != 0) return size;
  if (status.st_dev != damage->device || status.st_ino != damage->inode) return size;
  std::size_t readable = size;
  for (const UnreadableBytes::Range& range : damage->ranges) {
    if (range.to <= position || range.from >= position + size) continue;
    const std::uint64_t before = range.from > position ? range.from - position : 0;
    const bool asAWhole = damage->reads == UnreadableBytes::Reads::kFailAsAWhole;
    readable = asAWhole ? 0 : std::min(readable, static_cast<std::size_t>(before));
  }
  if (readable == 0 && size > 0) damage->failedAt.push_back(position);
  return readable;
}

thread_local int mostAtOnce = 0;

// Whether the operation is to fail; errno is set then.
bool Fails(FileOperation operation) {
  if (plan == nullptr) return false;
  if (plan->kind ? *plan->kind != operation : operation == FileOperation::kExamine) return false;
  const int number = plan->counted++;
  const bool strikes = number == plan->first ||
                       (number > plan->first && plan->repeats == FileFaults::Repeats::kFromThenOn);
  if (!strikes) return false;
  ++plan->struck;
  if (plan->act) {
    plan->act();
    return false;
  }
  errno = plan->error;
  return true;
}

template <class Function>
Function* Original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// What was not asked for is not told: a system may leave it out.
void KeepOnly(unsigned asked, struct statx* status) {
  const auto keep = [asked](unsigned field, auto& value) {
    if ((asked & field) == 0) value = {};
  };
  const unsigned kind = (asked & STATX_TYPE) != 0 ? S_IFMT : 0U;
  const unsigned rights = (asked & STATX_MODE) != 0 ? ~S_IFMT : 0U;
  status->stx_mode = static_cast<decltype(status->stx_mode)>(status->stx_mode & (kind | rights));
  keep(STATX_NLINK, status->stx_nlink);
  keep(STATX_UID, status->stx_uid);
  keep(STATX_GID, status->stx_gid);
  keep(STATX_ATIME, status->stx_atime);
  keep(STATX_MTIME, status->stx_mtime);
  keep(STATX_CTIME, status->stx_ctime);
  keep(STATX_BTIME, status->stx_btime);
  keep(STATX_INO, status->stx_ino);
  keep(STATX_SIZE, status->stx_size);
  keep(STATX_BLOCKS, status->stx_blocks);
  status->stx_mask &= asked;
}

}  // namespace

FileFaults::FileFaults(FileOperation kind, int first, Repeats repeats, int error) {
  plan = new Plan{kind, first, repeats, error, {}};
}

FileFaults::FileFaults(FileOperation kind, int first, std::function<void()> act) {
  plan = new Plan{kind, first, Repeats::kOnce, 0, std::move(act)};
}

FileFaults::FileFaults(int first, std::function<void()> act) {
  plan = new Plan{std::nullopt, first, Repeats::kOnce, 0, std::move(act)};
}

FileFaults::~FileFaults() {
  delete std::exchange(plan, nullptr);
}

int FileFaults::Struck() const {
  return plan->struck;
}

UnreadableBytes::UnreadableBytes(const std::string& path, const std::vector<Range>& ranges,
                                 Reads reads) {
  struct stat status = {};
  stat(path.c_str(), &status);
  damage = new Damage{status.st_dev, status.st_ino, ranges, reads, {}};
}

UnreadableBytes::~UnreadableBytes() {
  delete std::exchange(damage, nullptr);
}

std::vector<std::uint64_t> UnreadableBytes::FailedAt() const {
  return damage->failedAt;
}

ShortReads::ShortReads(int most) {
  mostAtOnce = most;
}

ShortReads::~ShortReads() {
  mostAtOnce = 0;
}

// When files may be large, the C library's headers rename some of these functions, so they are
// declared only here.
extern "C" {

#define EXPORTED __attribute__((visibility("default")))

EXPORTED int FaultyOpen(const char* path, int flags, ...) asm("open64");
int FaultyOpen(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int mode = va_arg(arguments, int);
  va_end(arguments);
  if (Fails(FileOperation::kOpen)) return -1;
  return Original<int(const char*, int, ...)>("open64")(path, flags, mode);
}

long long SeekIn(int file, long long distance, int from) asm("lseek64");

EXPORTED ssize_t read(int file, void* bytes, std::size_t size) {
  if (Fails(FileOperation::kRead)) return -1;
  if (mostAtOnce > 0) size = std::min(size, static_cast<std::size_t>(mostAtOnce));
  if (damage != nullptr) {
    const auto position = static_cast<std::uint64_t>(SeekIn(file, 0, SEEK_CUR));
    const std::size_t readable = Readable(file, size, position);
    if (readable < size && readable == 0) {
      errno = EIO;
      return -1;
    }
    size = readable;
  }
  return Original<ssize_t(int, void*, std::size_t)>("read")(file, bytes, size);
}

EXPORTED ssize_t FaultyReadAt(int file, void* bytes, std::size_t size,
                              long long position) asm("pread64");
ssize_t FaultyReadAt(int file, void* bytes, std::size_t size, long long position) {
  if (Fails(FileOperation::kRead)) return -1;
  if (mostAtOnce > 0) size = std::min(size, static_cast<std::size_t>(mostAtOnce));
  const std::size_t readable = Readable(file, size, static_cast<std::uint64_t>(position));
  if (readable < size && readable == 0) {
    errno = EIO;
    return -1;
  }
  return Original<ssize_t(int, void*, std::size_t, long long)>("pread64")(file, bytes, readable,
                                                                          position);
}

EXPORTED ssize_t write(int file, const void* bytes, std::size_t size) {
  if (Fails(FileOperation::kWrite)) return -1;
  return Original<ssize_t(int, const void*, std::size_t)>("write")(file, bytes, size);
}

EXPORTED int FaultyTruncate(int file, long long size) asm("ftruncate64");
int FaultyTruncate(int file, long long size) {
  if (Fails(FileOperation::kWrite)) return -1;
  return Original<int(int, long long)>("ftruncate64")(file, size);
}

EXPORTED int FaultyTruncatePath(const char* path, long long size) asm("truncate64");
int FaultyTruncatePath(const char* path, long long size) {
  if (Fails(FileOperation::kWrite)) return -1;
  return Original<int(const char*, long long)>("truncate64")(path, size);
}

EXPORTED DIR* opendir(const char* path) {
  if (Fails(FileOperation::kOpen)) return nullptr;
  return Original<DIR*(const char*)>("opendir")(path);
}

EXPORTED int fdatasync(int file) {
  if (Fails(FileOperation::kSync)) return -1;
  return Original<int(int)>("fdatasync")(file);
}

EXPORTED int fsync(int file) {
  if (Fails(FileOperation::kSync)) return -1;
  return Original<int(int)>("fsync")(file);
}

EXPORTED int statx(int folder, const char* path, int flags, unsigned asked,
                   struct statx* status) noexcept {
  if (Fails(FileOperation::kExamine)) return -1;
  using Statx = int(int, const char*, int, unsigned, struct statx*);
  const int result = Original<Statx>("statx")(folder, path, flags, asked, status);
  if (result == 0) KeepOnly(asked, status);
  return result;
}

EXPORTED int fchmod(int file, mode_t rights) noexcept {
  if (Fails(FileOperation::kAllow)) return -1;
  return Original<int(int, mode_t)>("fchmod")(file, rights);
}

EXPORTED int flock(int file, int operation) noexcept {
  if (Fails(FileOperation::kLock)) return -1;
  return Original<int(int, int)>("flock")(file, operation);
}

EXPORTED int rename(const char* from, const char* to) noexcept {
  if (Fails(FileOperation::kRename)) return -1;
  return Original<int(const char*, const char*)>("rename")(from, to);
}

EXPORTED int unlink(const char* path) noexcept {
  if (Fails(FileOperation::kRemove)) return -1;
  return Original<int(const char*)>("unlink")(path);
}
}
