#include "tools/qbt2/cli/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace qbt2::tool {
namespace {

constexpr auto kRedrawEvery = std::chrono::milliseconds(100);
constexpr std::size_t kBarCells = 30;
constexpr double kBytesPerMegabyte = 1e6;

void print_line(std::string_view file, std::string_view text) {
  std::fprintf(stderr, "qbt2: %.*s: %.*s\n", static_cast<int>(file.size()), file.data(),
               static_cast<int>(text.size()), text.data());
}

}  // namespace

std::size_t terminal_columns() {
  winsize size{};
  if (!standard_output_is_terminal() || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

bool standard_output_is_terminal() {
  return ::isatty(STDOUT_FILENO) != 0;
}

bool standard_error_is_terminal() {
  return ::isatty(STDERR_FILENO) != 0;
}

ProgressBar::ProgressBar(bool enabled, std::uint64_t total_bytes)
    : enabled_(enabled), total_bytes_(total_bytes) {}

ProgressBar::~ProgressBar() {
  clear();
}

void ProgressBar::update(std::uint64_t bytes_done) {
  if (!enabled_) return;
  const auto now = Clock::now();
  if (now - last_ < kRedrawEvery) return;
  last_ = now;
  draw(bytes_done, now);
}

void ProgressBar::draw(std::uint64_t bytes_done, Clock::time_point now) {
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double megabytes = static_cast<double>(bytes_done) / kBytesPerMegabyte;
  if (total_bytes_ == 0) {
    std::fprintf(stderr, "\r\033[K%.1f MB, %.1f MB/s", megabytes, megabytes / seconds);
  } else {
    const double share =
        std::min(1.0, static_cast<double>(bytes_done) / static_cast<double>(total_bytes_));
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(kBarCells));
    const std::string bar = std::string(filled, '#') + std::string(kBarCells - filled, '.');
    std::fprintf(stderr, "\r\033[K[%s] %3.0f %%, %.1f MB/s", bar.c_str(), share * 100,
                 megabytes / seconds);
  }
  drawn_ = true;
}

void ProgressBar::clear() {
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

Reporter::Lines& Reporter::lines_of(std::string_view kind) {
  const auto found = lines_of_kind_.find(kind);
  if (found != lines_of_kind_.end()) return found->second;
  return lines_of_kind_[std::string(kind)];
}

void Reporter::trouble(std::string_view kind, std::string_view file, std::uint64_t offset,
                       std::string_view reason) {
  Lines& lines = lines_of(kind);
  if (lines.shown == kLinesOfAKind) {
    ++lines.hidden;
    return;
  }
  ++lines.shown;
  progress_.clear();
  print_line(file, "byte " + std::to_string(offset) + ": " + std::string(reason));
}

void Reporter::trouble_unseen(std::string_view kind, std::uint64_t lines) {
  if (lines != 0) lines_of(kind).hidden += lines;
}

void Reporter::notice(std::string_view file, std::string_view text) {
  progress_.clear();
  print_line(file, text);
}

void Reporter::summarise() {
  progress_.clear();
  for (const auto& [kind, lines] : lines_of_kind_) {
    if (lines.hidden == 0) continue;
    std::fprintf(stderr, "qbt2: %llu more lines about %s are not shown\n",
                 static_cast<unsigned long long>(lines.hidden), kind.c_str());
  }
}

}  // namespace qbt2::tool
