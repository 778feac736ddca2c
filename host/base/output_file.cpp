#include "host/base/output_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "host/base/error.h"
#include "host/base/parse_number.h"

namespace qbt2 {
namespace {

constexpr int kMaxLinks = 40;                // as many as the kernel follows
constexpr std::size_t kKeptNameBytes = 200;  // of 255, so that the temporary's ending fits
constexpr mode_t kPermissionBits = 0777;

[[noreturn]] void throw_output_error(const std::string& path, int error) {
  throw Error(ErrorCode::kOutput, path, std::generic_category().message(error));
}

/// The descriptor that a path of the form /dev/stdout or /dev/fd/N stands for. Opening such a path
/// would open the file behind it anew, with a position of its own; replacing it would be worse.
std::optional<int> descriptor_named_by(const std::string& path) {
  if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view prefix : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(prefix)) continue;
    const auto number = parse_decimal<int>(std::string_view(path).substr(prefix.size()));
    if (number && *number >= 0) return *number;
  }
  return std::nullopt;
}

/// Follows symbolic links at the end of the path, also one whose target is still to be made.
std::string resolve_links(const std::string& path) {
  std::filesystem::path at = path;
  std::error_code error;
  for (int links = 0; std::filesystem::is_symlink(at, error); ++links) {
    if (links == kMaxLinks) throw_output_error(path, ELOOP);
    const std::filesystem::path next = std::filesystem::read_symlink(at, error);
    if (error) throw_output_error(path, error.value());
    at = at.parent_path() / next;  // an absolute `next` replaces the folder
  }
  return at.string();
}

std::string temporary_name(const std::string& target) {
  static std::atomic<unsigned> count{0};
  const std::size_t name_begin = target.rfind('/') + 1;  // npos + 1 is 0
  const std::string name = target.substr(name_begin, kKeptNameBytes);
  return target.substr(0, name_begin) + name + ".tmp-" + std::to_string(::getpid()) + "-" +
         std::to_string(++count);
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : OutputFile() {
  shown_path_ = path == "-" ? "standard output" : path;
  if (const auto number = descriptor_named_by(path)) {
    open_stream(*number);
    return;
  }
  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) fail(errno);
  if (exists && !S_ISREG(status.st_mode)) {
    open_through(path);
  } else {
    open_temporary(resolve_links(path));
  }
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void OutputFile::fail(int error) const {
  throw_output_error(shown_path_, error);
}

void OutputFile::open_stream(int number) {
  descriptor_ = ::fcntl(number, F_DUPFD_CLOEXEC, 0);
  if (descriptor_ < 0) fail(errno);
}

void OutputFile::open_through(const std::string& path) {
  descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor_ < 0) fail(errno);
}

void OutputFile::open_temporary(const std::string& target) {
  if (target.empty() || target.ends_with('/')) fail(target.empty() ? ENOENT : EISDIR);
  struct stat status {};
  const bool exists = ::stat(target.c_str(), &status) == 0;
  // Renaming asks nothing of the file that goes; a write-protected one is protected all the same.
  if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail(errno);
  std::string name;
  do {
    name = temporary_name(target);
    descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  } while (descriptor_ < 0 && errno == EEXIST);  // left by a process of the same number
  if (descriptor_ < 0) fail(errno);
  target_ = target;
  temporary_ = name;
  if (exists) keep_permissions(target);
}

void OutputFile::keep_permissions(const std::string& target) const {
  struct stat status {};
  if (::stat(target.c_str(), &status) != 0) return;
  // Only a privileged process may give a file away; for others the new file is their own, and
  // then it is not opened to a group that the old one was meant for.
  const bool owned = ::fchown(descriptor_, status.st_uid, status.st_gid) == 0;
  const mode_t kept = owned ? kPermissionBits : 0707;
  if (::fchmod(descriptor_, status.st_mode & kept) != 0) fail(errno);
}

void OutputFile::wait_until_writable() const {
  pollfd wanted{descriptor_, POLLOUT, 0};
  if (::poll(&wanted, 1, -1) < 0 && errno != EINTR) fail(errno);
}

bool OutputFile::write(std::string_view text) {
  while (!text.empty() && !reader_gone_) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      reader_gone_ = true;
    } else if (errno == EAGAIN) {  // the other side set the pipe to non-blocking
      wait_until_writable();
    } else if (errno != EINTR) {
      fail(errno);
    }
  }
  return !reader_gone_;
}

void OutputFile::commit() {
  // A network file system may tell only here that the data did not fit.
  const int closed = ::close(std::exchange(descriptor_, -1));
  if (closed != 0 && errno != EINTR) fail(errno);
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
  temporary_.clear();
}

}  // namespace qbt2
