#include "host/base/replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/base/error.h"

namespace qbt2 {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40;  // as many as the kernel follows
// Of the 255 bytes of a file name, so that ".tmp-", two numbers and the extension fit.
constexpr std::size_t kKeptNameBytes = 200;
constexpr std::size_t kMaxExtensionBytes = 16;
constexpr mode_t kPermissionBits = 0777;
constexpr mode_t kWithoutGroup = 0707;

[[noreturn]] void throw_output_error(const std::string& path, int error) {
  std::error_code ignored;
  const fs::path folder = fs::path(path).parent_path();
  const bool names_nothing = path.empty();
  if (error == ENOENT && !names_nothing && folder.empty()) {
    throw Error(ErrorCode::kOutput, path, "the current folder does not exist any more");
  }
  if (error == ENOENT && !names_nothing && !fs::exists(folder, ignored)) {
    throw Error(ErrorCode::kOutput, path, "the folder " + folder.string() + " does not exist");
  }
  throw Error(ErrorCode::kOutput, path, std::generic_category().message(error));
}

/// Follows symbolic links at the end of the path, also to a target that does not exist yet.
std::string resolve_links(const std::string& path) {
  fs::path at = path;
  std::error_code error;
  for (int links = 0; fs::is_symlink(at, error); ++links) {
    if (links == kMaxLinks) throw_output_error(path, ELOOP);
    const fs::path next = fs::read_symlink(at, error);
    if (error) throw_output_error(path, error.value());
    at = at.parent_path() / next;  // an absolute `next` replaces the folder
  }
  return at.string();
}

std::string temporary_name(const std::string& target, std::string extension) {
  static std::atomic<unsigned> count{0};
  if (extension.size() > kMaxExtensionBytes) extension.clear();
  const std::size_t name_begin = target.rfind('/') + 1;  // npos + 1 is 0
  const std::string name = target.substr(name_begin, kKeptNameBytes);
  return target.substr(0, name_begin) + name + ".tmp-" + std::to_string(::getpid()) + "-" +
         std::to_string(++count) + extension;
}

}  // namespace

ReplacementFile::ReplacementFile(const std::string& path, ExistingFile existing)
    : ReplacementFile() {
  shown_path_ = path;
  existing_ = existing;
  struct stat status {};
  if (existing == ExistingFile::kRefuse && ::lstat(path.c_str(), &status) == 0) {
    throw Error(ErrorCode::kUsage, path, "already exists");
  }
  // Asks the kernel before the links are followed by hand: it may refuse one that somebody else
  // has put into a shared folder.
  if (::stat(path.c_str(), &status) != 0 && errno != ENOENT) fail(errno);
  target_ = resolve_links(path);
  if (target_.empty() || target_.ends_with('/')) fail(target_.empty() ? ENOENT : EISDIR);
  const bool exists = ::stat(target_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    throw Error(ErrorCode::kOutput, path, "is not a regular file");
  }
  // Renaming needs no permission of the file that is replaced; a write-protected one is to stay.
  if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail(errno);
  create_temporary(exists ? 0600 : 0666);
  if (exists) take_permissions();
}

ReplacementFile::~ReplacementFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void ReplacementFile::fail(int error) const {
  throw_output_error(shown_path_, error);
}

void ReplacementFile::create_temporary(mode_t permissions) {
  const std::string extension = fs::path(shown_path_).extension().string();
  std::string name;
  do {
    name = temporary_name(target_, extension);
    entry_.emplace(name);
    descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
  } while (descriptor_ < 0 && errno == EEXIST);  // left by a process of the same number
  if (descriptor_ < 0) fail(errno);
  temporary_ = name;
}

void ReplacementFile::take_permissions() {
  struct stat status {};
  if (::stat(target_.c_str(), &status) != 0) return;
  // Only a privileged process may give a file away. For others the new file is their own, and is
  // not opened to a group that the old one was meant for.
  const bool owned = ::fchown(descriptor_, status.st_uid, status.st_gid) == 0;
  permissions_ = status.st_mode & (owned ? kPermissionBits : kWithoutGroup);
  if (::fchmod(descriptor_, *permissions_ | S_IRUSR | S_IWUSR) != 0) fail(errno);
}

void ReplacementFile::commit() {
  if (permissions_ && ::fchmod(descriptor_, *permissions_) != 0) fail(errno);
  // Else a crash of the machine could leave the new name with none of the data. Some file systems
  // cannot do it; what they do then is all there is.
  if (::fsync(descriptor_) != 0 && errno != EINVAL && errno != EROFS) fail(errno);
  close_checked();
  if (existing_ == ExistingFile::kRefuse) {
    take_free_name();
  } else if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
    fail(errno);
  }
  temporary_.clear();
  entry_.reset();
}

void ReplacementFile::close_checked() {
  // A network file system may report only here that the data did not fit.
  const int closed = ::close(std::exchange(descriptor_, -1));
  if (closed != 0 && errno != EINTR) fail(errno);
}

void ReplacementFile::take_free_name() const {
  const auto rename = [&](unsigned flags) {
    return ::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), flags) == 0;
  };
  if (rename(RENAME_NOREPLACE)) return;
  // EINVAL: the file system cannot do that; then the check of the constructor has to do.
  if (errno != EINVAL || !rename(0)) fail(errno);
}

}  // namespace qbt2
