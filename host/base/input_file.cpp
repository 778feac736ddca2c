#include "host/base/input_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "host/base/error.h"

namespace qbt2 {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{256} << 10;
constexpr auto kNoWait = std::chrono::milliseconds(0);
/// A writer that sends nothing for so long is waiting for something itself.
constexpr auto kPause = std::chrono::milliseconds(500);

std::string system_reason(int code) {
  return std::generic_category().message(code);
}

}  // namespace

InputFile::InputFile(std::string path) : name_(std::move(path)) {
  if (name_ == "-") {
    name_ = "standard input";
    descriptor_ = STDIN_FILENO;
  } else {
    descriptor_ = ::open(name_.c_str(), O_RDONLY | O_CLOEXEC);
    owned_ = true;
  }
  if (descriptor_ < 0) {
    throw Error(ErrorCode::kInput, name_, "cannot open: " + system_reason(errno));
  }
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) {
    const int code = errno;
    if (owned_) ::close(descriptor_);
    throw Error(ErrorCode::kInput, name_, "cannot open: " + system_reason(code));
  }
  if (S_ISDIR(status.st_mode)) {
    if (owned_) ::close(descriptor_);
    throw Error(ErrorCode::kInput, name_, "is a directory");
  }
  // Standard input may be a regular file that another process has read part of: treat it as a
  // stream.
  is_regular_ = owned_ && S_ISREG(status.st_mode);
  if (is_regular_) size_bytes_ = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() {
  if (owned_ && descriptor_ >= 0) ::close(descriptor_);
}

std::size_t InputFile::read_some(std::span<std::uint8_t> buffer) {
  for (;;) {
    const ssize_t got = ::read(descriptor_, buffer.data(), buffer.size());
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno == EINTR) continue;
    throw Error(ErrorCode::kInput, name_, position_, "cannot read: " + system_reason(errno));
  }
}

bool InputFile::has_input() const {
  return is_regular_ || ahead_.size() != ahead_taken_ || has_new_input(kNoWait);
}

/// Whether a read from the system would return within `wait`.
bool InputFile::has_new_input(std::chrono::milliseconds wait) const {
  pollfd input{descriptor_, POLLIN, 0};
  // An interrupted wait counts as a short one; what cannot be polled shows when it is read.
  const int ready = ::poll(&input, 1, static_cast<int>(wait.count()));
  return ready > 0 || (ready < 0 && errno != EINTR);
}

void InputFile::drop_taken() {
  ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<std::ptrdiff_t>(ahead_taken_));
  ahead_taken_ = 0;
}

/// Reads once, for up to `bytes` bytes ahead; false at the end.
bool InputFile::read_ahead(std::size_t bytes) {
  const std::size_t had = ahead_.size();
  ahead_.resize(std::min(bytes, had + kPieceBytes));
  const std::size_t got = read_some(std::span(ahead_).subspan(had));
  ahead_.resize(had + got);
  return got != 0;
}

std::span<const std::uint8_t> InputFile::peek(std::size_t bytes) {
  drop_taken();
  while (ahead_.size() < bytes && read_ahead(bytes)) {
  }
  return {ahead_.data(), std::min(bytes, ahead_.size())};
}

std::span<const std::uint8_t> InputFile::peek_live(
    std::size_t bytes,
    const std::function<bool(std::span<const std::uint8_t> first_bytes, bool paused)>& is_enough) {
  if (is_regular_) return peek(bytes);
  drop_taken();
  std::size_t asked_at = 0;
  while (ahead_.size() < bytes) {
    const std::size_t there = ahead_.size();
    // Only where it grew by a part of its size: else bytes that trickle in one by one would have
    // all before them looked through as often.
    const bool has_grown = there > asked_at + asked_at / 64;
    if (has_grown && !has_new_input(kNoWait)) {
      asked_at = there;
      if (is_enough(ahead_, false)) break;
    }
    if (there != 0 && !has_new_input(kPause) && is_enough(ahead_, true)) break;
    if (!read_ahead(bytes)) break;
  }
  return {ahead_.data(), std::min(bytes, ahead_.size())};
}

std::size_t InputFile::read(std::span<std::uint8_t> buffer) {
  std::size_t got = std::min(buffer.size(), ahead_.size() - ahead_taken_);
  if (got != 0) {
    std::memcpy(buffer.data(), ahead_.data() + ahead_taken_, got);
    ahead_taken_ += got;
  } else {
    got = read_some(buffer);
  }
  position_ += got;
  return got;
}

void InputFile::rewind() {
  if (::lseek(descriptor_, 0, SEEK_SET) < 0) {
    throw Error(ErrorCode::kInput, name_, "cannot rewind: " + system_reason(errno));
  }
  ahead_.clear();
  ahead_taken_ = 0;
  position_ = 0;
}

std::optional<std::string> read_up_to(InputFile& input, std::size_t most_bytes) {
  if (input.size_bytes() > most_bytes) return std::nullopt;
  std::string bytes;
  std::vector<std::uint8_t> piece(kPieceBytes);
  while (const std::size_t got = input.read(piece)) {
    if (got > most_bytes - bytes.size()) return std::nullopt;
    bytes.append(reinterpret_cast<const char*>(piece.data()), got);
  }
  return bytes;
}

}  // namespace qbt2
