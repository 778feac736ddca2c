#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "host/decode/run_observer.h"

/// What the tool says on standard error while it reads captures. One thread.
namespace qbt2::tool {

/// One line that shows how far a run is, redrawn in place. Draws nothing unless switched on.
class ProgressBar {
 public:
  explicit ProgressBar(bool enabled) : enabled_(enabled) {}
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Cheap: draws ten times a second at most. `total` is 0 where it is not known.
  void update(std::uint64_t bytes, std::uint64_t total);
  /// Wipes the line, so that other text can take its place.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(std::uint64_t bytes, std::uint64_t total, Clock::time_point now);

  bool enabled_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

/// Diagnostics about the input, a line each that begins with the file's name, and the progress bar
/// that they share the terminal with. Of each kind of diagnostic only the first lines are shown;
/// the rest is counted.
class Reporter final : public RunObserver {
 public:
  explicit Reporter(bool show_progress) : progress_(show_progress) {}

  void on_damage(std::string_view file, std::uint64_t offset, std::string_view reason) override;
  void on_rejected_sample(std::string_view file, std::uint64_t offset,
                          std::string_view reason) override;
  void on_more_rejected_samples(std::uint64_t count) override;
  void on_notice(std::string_view file, std::string_view text) override;
  void on_progress(std::uint64_t bytes, std::uint64_t total) override;

  ProgressBar& progress() { return progress_; }
  /// One line for each kind of diagnostic that was cut off.
  void summarise();

  static constexpr std::uint64_t kLinesOfAKind = 20;

 private:
  struct Lines {
    std::uint64_t shown = 0;
    std::uint64_t hidden = 0;
  };
  void diagnostic(std::string_view kind, std::string_view file, std::uint64_t offset,
                  std::string_view reason);
  Lines& lines_of(std::string_view kind);

  ProgressBar progress_;
  std::map<std::string, Lines, std::less<>> lines_of_kind_;
};

}  // namespace qbt2::tool
