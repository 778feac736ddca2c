#include "host/base/output_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include "host/base/error.h"
#include "host/base/parse_number.h"
#include "host/base/standard_output.h"

namespace qbt2 {
namespace {

/// The descriptor that a path of the form /dev/stdout or /dev/fd/N means. Opening such a path would
/// open its file a second time, with a position of its own; replacing it would be worse.
std::optional<int> descriptor_named_by(const std::string& path) {
  if (path == "-" || path == "/dev/stdout") return standard_output_descriptor();
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view prefix : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(prefix)) continue;
    const auto number = parse_decimal<int>(std::string_view(path).substr(prefix.size()));
    if (number && *number == STDOUT_FILENO) return standard_output_descriptor();
    if (number && *number >= 0) return *number;
  }
  return std::nullopt;
}

}  // namespace

bool names_open_stream(const std::string& path) {
  return descriptor_named_by(path).has_value();
}

OutputFile::OutputFile(const std::string& path)
    : shown_path_(path == "-" ? "standard output" : path) {
  if (const auto number = descriptor_named_by(path)) {
    open_stream(::fcntl(*number, F_DUPFD_CLOEXEC, 0));
    return;
  }
  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) fail(errno);
  if (exists && !S_ISREG(status.st_mode)) {
    open_stream(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  } else {
    descriptor_ = file_.emplace(path).descriptor();
  }
}

OutputFile::~OutputFile() {
  if (!file_ && descriptor_ >= 0) ::close(descriptor_);
}

void OutputFile::open_stream(int descriptor) {
  if (descriptor < 0) fail(errno);
  descriptor_ = descriptor;
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
  if (file_) return file_->commit();
  const int closed = ::close(std::exchange(descriptor_, -1));
  if (closed != 0 && errno != EINTR) fail(errno);
}

void OutputFile::fail(int error) const {
  throw Error(ErrorCode::kOutput, shown_path_, std::generic_category().message(error));
}

void refuse_to_replace_inputs(const std::string& output, const std::vector<std::string>& inputs) {
  struct stat target {};
  const auto named = descriptor_named_by(output);
  const bool exists = named ? ::fstat(*named, &target) == 0 : ::stat(output.c_str(), &target) == 0;
  if (!exists || !S_ISREG(target.st_mode)) return;
  for (const std::string& input : inputs) {
    struct stat source {};
    const bool found =
        input == "-" ? ::fstat(STDIN_FILENO, &source) == 0 : ::stat(input.c_str(), &source) == 0;
    if (found && source.st_dev == target.st_dev && source.st_ino == target.st_ino) {
      throw Error(ErrorCode::kUsage, output, "is also read in this run; choose another output");
    }
  }
}

}  // namespace qbt2
