#include "tools/qbt2/cli/reporter.h"

#include <algorithm>
#include <cstdio>

#include "host/base/number_text.h"
#include "tools/qbt2/cli/message.h"

namespace qbt2::tool {
namespace {

constexpr auto kRedrawEvery = std::chrono::milliseconds(100);
constexpr std::size_t kBarCells = 30;
constexpr double kBytesPerMegabyte = 1e6;

constexpr std::string_view kDamage = "damage";
constexpr std::string_view kRejectedSamples = "rejected samples";

}  // namespace

void ProgressBar::update(std::uint64_t bytes, std::uint64_t total) {
  if (!enabled_) return;
  const auto now = Clock::now();
  if (now - last_ < kRedrawEvery) return;
  last_ = now;
  draw(bytes, total, now);
}

void ProgressBar::draw(std::uint64_t bytes, std::uint64_t total, Clock::time_point now) {
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double megabytes = static_cast<double>(bytes) / kBytesPerMegabyte;
  if (total == 0) {
    std::fprintf(stderr, "\r\033[K%.1f MB, %.1f MB/s", megabytes, megabytes / seconds);
  } else {
    const double share = std::min(1.0, static_cast<double>(bytes) / static_cast<double>(total));
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

void Reporter::diagnostic(std::string_view kind, std::string_view file, std::uint64_t offset,
                          std::string_view reason) {
  Lines& lines = lines_of(kind);
  if (lines.shown == kLinesOfAKind) {
    ++lines.hidden;
    return;
  }
  ++lines.shown;
  progress_.clear();
  print_message(file, "byte " + std::to_string(offset) + ": " + std::string(reason));
}

void Reporter::on_damage(std::string_view file, std::uint64_t offset, std::string_view reason) {
  diagnostic(kDamage, file, offset, reason);
}

void Reporter::on_rejected_sample(std::string_view file, std::uint64_t offset,
                                  std::string_view reason) {
  diagnostic(kRejectedSamples, file, offset, reason);
}

void Reporter::on_more_rejected_samples(std::uint64_t count) {
  if (count != 0) lines_of(kRejectedSamples).hidden += count;
}

void Reporter::on_notice(std::string_view file, std::string_view text) {
  progress_.clear();
  print_message(file, text);
}

void Reporter::on_progress(std::uint64_t bytes, std::uint64_t total) {
  progress_.update(bytes, total);
}

void Reporter::summarise() {
  progress_.clear();
  for (const auto& [kind, lines] : lines_of_kind_) {
    if (lines.hidden == 0) continue;
    print_message(counted(lines.hidden, "more line") + " about " + kind +
                  (lines.hidden == 1 ? " is" : " are") + " not shown");
  }
}

}  // namespace qbt2::tool
