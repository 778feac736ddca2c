#include "host/tdf/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "host/base/error.h"

namespace qbt2 {
namespace {

int open_to_lock(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

/// Whether `path` still names the open file. The holder of a lock replaces the file, so whoever
/// waited for it holds the lock of a file without a name.
bool is_named(int descriptor, const std::string& path) {
  struct stat locked {};
  struct stat named {};
  return ::fstat(descriptor, &locked) == 0 && ::stat(path.c_str(), &named) == 0 &&
         locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

}  // namespace

FileLock::FileLock(const std::string& path) {
  while ((descriptor_ = open_to_lock(path)) >= 0) {
    int status = 0;
    do {
      status = ::flock(descriptor_, LOCK_EX);
    } while (status != 0 && errno == EINTR);
    if (status == 0 && is_named(descriptor_, path)) return;
    const int error = status == 0 ? 0 : errno;
    ::close(std::exchange(descriptor_, -1));
    if (error != 0) {
      throw Error(
          ErrorCode::kOutput, path,
          "cannot be locked against other writers: " + std::generic_category().message(error));
    }
  }
}

FileLock::~FileLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace qbt2
